#include "kestojob/reader/bytesource.h"

#include <algorithm>
#include <cerrno>
#include <string>
#include <system_error>

#include <unistd.h>

#include "kestojob/reader/fault.h"

namespace kesto::job {
namespace {

constexpr std::size_t BUFFER_SIZE = 256 * 1024;

}  // namespace

ByteSource::ByteSource(int descriptor) : descriptor_(descriptor), storage_(BUFFER_SIZE) {}

ByteSource::ByteSource(std::span<const std::uint8_t> bytes) : view_(bytes) {}

void ByteSource::refill() {
  if (descriptor_ < 0) return;
  base_ += view_.size();
  view_ = {};
  position_ = 0;
  ssize_t got = 0;
  do {
    got = ::read(descriptor_, storage_.data(), storage_.size());
  } while (got < 0 && errno == EINTR);
  if (got < 0) throw FileError(std::generic_category().message(errno));
  view_ = std::span(storage_).first(static_cast<std::size_t>(got));
}

void ByteSource::failAtEnd() const {
  throw Fault(offset(), std::string("The job ends within ") + place_ + ".");
}

std::uint8_t ByteSource::peek() {
  const auto bytes = available();
  if (bytes.empty()) failAtEnd();
  return bytes[0];
}

std::uint8_t ByteSource::byte() {
  const std::uint8_t value = peek();
  ++position_;
  return value;
}

void ByteSource::read(std::span<std::uint8_t> bytes) {
  while (!bytes.empty()) {
    const auto some = available();
    if (some.empty()) failAtEnd();
    const std::size_t count = std::min(some.size(), bytes.size());
    std::ranges::copy(some.first(count), bytes.begin());
    advance(count);
    bytes = bytes.subspan(count);
  }
}

void ByteSource::skip(std::uint64_t count) {
  while (count > 0) {
    const auto some = available();
    if (some.empty()) failAtEnd();
    const std::size_t step = static_cast<std::size_t>(std::min<std::uint64_t>(some.size(), count));
    advance(step);
    count -= step;
  }
}

std::span<const std::uint8_t> BlockReader::available(const char* what) {
  if (left_ == 0) throw Fault(offset(), std::string("The data block ends within ") + what + ".");
  const auto some = source_.available();
  if (some.empty()) source_.failAtEnd();
  return some.first(static_cast<std::size_t>(std::min<std::uint64_t>(some.size(), left_)));
}

void BlockReader::advance(std::size_t count) {
  source_.advance(count);
  left_ -= count;
}

std::uint8_t BlockReader::byte(const char* what) {
  const std::uint8_t value = available(what)[0];
  advance(1);
  return value;
}

}  // namespace kesto::job
