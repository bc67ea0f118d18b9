#include "filter/lines/linestore.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <utility>

#include "base/uniform.h"
#include "filter/lines/lineblock.h"

namespace kesto {
namespace {

constexpr std::size_t CHUNK_BYTES = 32;

}  // namespace

// Before the memory's end and before the oldest record there may be gaps that are too small for a record, so that one
// record more than a block's has to fit.
LineStore::LineStore(std::size_t lineBytes, std::size_t capacity)
    : lineBytes_(lineBytes),
      mapBytes_((lineBytes / CHUNK_BYTES + CHAR_BIT - 1) / CHAR_BIT),
      mostBytes_(mapBytes_ + lineBytes),
      capacity_(std::max(capacity, (LINES_PER_BLOCK + 1) * mostBytes_)),
      bytes_(new std::uint8_t[capacity_]) {}

bool LineStore::hasRoom() const {
  if (size_ == 0) return true;
  if (write_ <= read_) return read_ - write_ >= mostBytes_;
  return capacity_ - write_ >= mostBytes_ || read_ >= mostBytes_;
}

std::span<std::uint8_t> LineStore::next() {
  if (capacity_ - write_ < mostBytes_) wrap_ = std::exchange(write_, 0);
  return {&bytes_[write_ + mapBytes_], lineBytes_};
}

void LineStore::push() {
  std::uint8_t* const map = &bytes_[write_];
  std::uint8_t* out = map + mapBytes_;
  const std::uint8_t* in = out;
  std::fill(map, out, std::uint8_t{0});
  for (std::size_t chunk = 0; chunk < lineBytes_ / CHUNK_BYTES; ++chunk, in += CHUNK_BYTES) {
    if (isWhite<CHUNK_BYTES>(in)) continue;
    std::memmove(out, in, CHUNK_BYTES);
    out += CHUNK_BYTES;
    map[chunk / CHAR_BIT] |= static_cast<std::uint8_t>(1U << chunk % CHAR_BIT);
  }
  const std::size_t rest = lineBytes_ % CHUNK_BYTES;
  std::memmove(out, in, rest);
  write_ = static_cast<std::size_t>(out + rest - bytes_.get());
  ++size_;
}

void LineStore::pop(std::span<std::uint8_t> line) {
  if (read_ == wrap_) read_ = wrap_ = 0;
  const std::uint8_t* const map = &bytes_[read_];
  const std::uint8_t* in = map + mapBytes_;
  std::uint8_t* out = line.data();
  for (std::size_t chunk = 0; chunk < lineBytes_ / CHUNK_BYTES; ++chunk, out += CHUNK_BYTES) {
    if ((map[chunk / CHAR_BIT] >> chunk % CHAR_BIT & 1) != 0) {
      std::memcpy(out, in, CHUNK_BYTES);
      in += CHUNK_BYTES;
    } else {
      std::memset(out, 0xFF, CHUNK_BYTES);
    }
  }
  const std::size_t rest = lineBytes_ % CHUNK_BYTES;
  std::memcpy(out, in, rest);
  read_ = static_cast<std::size_t>(in + rest - bytes_.get());
  if (--size_ == 0) read_ = write_ = wrap_ = 0;
}

}  // namespace kesto
