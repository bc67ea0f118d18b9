#include "kestojob/reader/bytesource.h"

#include <algorithm>
#include <cerrno>
#include <string>
#include <system_error>

#include <unistd.h>

#include "kestojob/reader/fault.h"
#include "kestojob/reader/jobstart.h"

namespace kesto::job {
namespace {

constexpr std::size_t BUFFER_SIZE = 256 * 1024;

/// So much is searched for the next job at a time. Small, so that a file of very short jobs is not searched to the
/// buffer's end for each of them.
constexpr std::size_t WINDOW = 16 * 1024;

}  // namespace

ByteSource::ByteSource(int descriptor) : descriptor_(descriptor), storage_(BUFFER_SIZE) {}

ByteSource::ByteSource(std::span<const std::uint8_t> bytes) : held_(bytes) {}

void ByteSource::refill() {
  base_ += view_.size();
  held_ = held_.subspan(view_.size());
  view_ = {};
  position_ = 0;
  if (jobEnded_) return;
  while (descriptor_ >= 0 && held_.size() <= JOB_START_LENGTH) readMore();
  const std::size_t known = descriptor_ < 0 ? held_.size() : held_.size() - JOB_START_LENGTH;
  const std::size_t limit = std::min(known, WINDOW);
  const std::size_t end = endOfJob(limit);
  jobEnded_ = end < limit;
  view_ = held_.first(end);
}

void ByteSource::readMore() {
  std::ranges::copy(held_, storage_.begin());
  const auto room = std::span(storage_).subspan(held_.size());
  ssize_t got = 0;
  do {
    got = ::read(descriptor_, room.data(), room.size());
  } while (got < 0 && errno == EINTR);
  if (got < 0) throw FileError(std::generic_category().message(errno));
  if (got == 0) descriptor_ = -1;
  held_ = std::span(storage_).first(held_.size() + static_cast<std::size_t>(got));
}

/// How far what is held is the job's, at most `limit`.
std::size_t ByteSource::endOfJob(std::size_t limit) {
  if (held_.empty()) return 0;
  const bool first = base_ == jobStart_;
  if (first) headerDue_ = held_[0] == NPA_START;
  std::size_t end = findJobStart(held_, first ? 1 : 0, limit);
  if (headerDue_ && end < limit && held_[end] != NPA_START) {
    headerDue_ = false;
    end = findJobStart(held_, end + 1, limit);
  }
  return end;
}

bool ByteSource::nextJob() {
  for (auto rest = available(); !rest.empty(); rest = available()) advance(rest.size());
  if (!jobEnded_) return false;
  jobEnded_ = false;
  jobStart_ = offset();
  return true;
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
