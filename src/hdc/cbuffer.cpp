#include "hdc/cbuffer.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <span>
#include <utility>

#include "base/report.h"

namespace kesto {

namespace {

/// One look at a ring, with its counts in 64 bits: N + 1 need not fit 32.
struct View {
  std::uint64_t stored = 0;
  std::uint64_t space = 0;
  std::span<std::uint8_t> storage;  // empty without storage
};

/// Looks at the indices before the data. cbufferFree goes the other way, so a look that met an index of the freed ring
/// also meets its null data and counts nothing: no torn pair of indices is ever put to use.
View look(const cbuffer& buffer) {
  const std::uint64_t size = buffer.size.load(std::memory_order_acquire);
  const std::uint64_t readIndex = buffer.readIndex.load(std::memory_order_acquire);
  const std::uint64_t writeIndex = buffer.writeIndex.load(std::memory_order_acquire);
  std::uint8_t* const data = buffer.data.load(std::memory_order_acquire);
  if (data == nullptr) return {};
  const std::uint64_t stored = writeIndex >= readIndex ? writeIndex - readIndex : size + 1 + writeIndex - readIndex;
  return {.stored = stored, .space = size - stored, .storage = {data, static_cast<std::size_t>(size + 1)}};
}

/// Where a copy of `count` bytes from position `index` on meets the end of storage of `slots` bytes: the bytes before
/// the end, and the index after the copy.
std::pair<std::size_t, std::uint32_t> splitAtEnd(std::size_t slots, std::uint32_t index, std::size_t count) {
  const std::size_t untilEnd = slots - index;
  if (count < untilEnd) return {count, static_cast<std::uint32_t>(index + count)};
  return {untilEnd, static_cast<std::uint32_t>(count - untilEnd)};
}

/// The `count` bytes from the caller's own index on, or null when they are more than `most` or cross the end of
/// storage.
std::uint8_t* stretchAt(const View& view, const std::atomic<std::uint32_t>& ownIndex, std::uint64_t most,
                        std::uint32_t count) {
  const auto index = ownIndex.load(std::memory_order_relaxed);
  if (count > most || count > view.storage.size() - index) return nullptr;
  return view.storage.data() + index;
}

/// Moves the caller's own index on by `count`; returns false when that is more than `most`.
bool advance(const View& view, std::atomic<std::uint32_t>& ownIndex, std::uint64_t most, std::uint32_t count) {
  if (count > most) return false;
  if (count == 0) return true;
  const auto index = ownIndex.load(std::memory_order_relaxed);
  ownIndex.store(splitAtEnd(view.storage.size(), index, count).second, std::memory_order_release);
  return true;
}

}  // namespace

bool cbufferCreate(cbuffer* buffer, std::uint32_t capacity) {
  cbufferFree(buffer);
  auto* const storage = new (std::nothrow) std::uint8_t[std::size_t{capacity} + 1];
  buffer->size.store(capacity, std::memory_order_relaxed);
  buffer->data.store(storage, std::memory_order_release);
  if (storage == nullptr) reportErrno("ERROR: Unable to allocate memory", ENOMEM);
  return storage != nullptr;
}

void cbufferFree(cbuffer* buffer) {
  const std::unique_ptr<std::uint8_t[]> storage(buffer->data.exchange(nullptr, std::memory_order_acq_rel));
  buffer->size.store(0, std::memory_order_release);
  buffer->writeIndex.store(0, std::memory_order_release);
  buffer->readIndex.store(0, std::memory_order_release);
}

bool cbufferIsEmpty(const cbuffer* buffer) {
  const auto readIndex = buffer->readIndex.load(std::memory_order_acquire);
  return readIndex == buffer->writeIndex.load(std::memory_order_acquire);
}

bool cbufferIsFull(const cbuffer* buffer) {
  const std::uint64_t slots = std::uint64_t{buffer->size.load(std::memory_order_acquire)} + 1;
  const auto readIndex = buffer->readIndex.load(std::memory_order_acquire);
  const std::uint64_t writeIndex = buffer->writeIndex.load(std::memory_order_acquire);
  return (writeIndex + 1) % slots == readIndex;
}

std::int32_t cbufferGetAvailableSpace(const cbuffer* buffer) {
  constexpr std::uint64_t MOST = std::numeric_limits<std::int32_t>::max();
  return static_cast<std::int32_t>(std::min(look(*buffer).space, MOST));
}

std::uint32_t cbufferGetAvailableBytes(const cbuffer* buffer) {
  return static_cast<std::uint32_t>(look(*buffer).stored);
}

bool cbufferWriteBytes(cbuffer* buffer, const std::uint8_t* bytes, std::uint32_t count) {
  const std::span source(bytes, count);
  const View view = look(*buffer);
  if (source.size() > view.space) return false;
  if (source.empty()) return true;
  const auto index = buffer->writeIndex.load(std::memory_order_relaxed);
  const auto [beforeEnd, next] = splitAtEnd(view.storage.size(), index, source.size());
  std::memcpy(&view.storage[index], source.data(), beforeEnd);
  if (beforeEnd < source.size()) {
    buffer->writeIndex.store(0, std::memory_order_release);
    std::memcpy(view.storage.data(), &source[beforeEnd], source.size() - beforeEnd);
  }
  buffer->writeIndex.store(next, std::memory_order_release);
  return true;
}

std::uint8_t* cbufferReserveBytes(cbuffer* buffer, std::uint32_t count) {
  const View view = look(*buffer);
  return stretchAt(view, buffer->writeIndex, view.space, count);
}

bool cbufferCommitBytes(cbuffer* buffer, std::uint32_t count) {
  const View view = look(*buffer);
  return advance(view, buffer->writeIndex, view.space, count);
}

const std::uint8_t* cbufferPeekBytes(const cbuffer* buffer, std::uint32_t count) {
  const View view = look(*buffer);
  return stretchAt(view, buffer->readIndex, view.stored, count);
}

bool cbufferSkipBytes(cbuffer* buffer, std::uint32_t count) {
  const View view = look(*buffer);
  return advance(view, buffer->readIndex, view.stored, count);
}

bool cbufferReadBytes(cbuffer* buffer, std::uint8_t* bytes, std::uint32_t count) {
  const std::span destination(bytes, count);
  const View view = look(*buffer);
  if (destination.size() > view.stored) return false;
  if (destination.empty()) return true;
  const auto index = buffer->readIndex.load(std::memory_order_relaxed);
  const auto [beforeEnd, next] = splitAtEnd(view.storage.size(), index, destination.size());
  std::memcpy(destination.data(), &view.storage[index], beforeEnd);
  if (beforeEnd < destination.size()) {
    buffer->readIndex.store(0, std::memory_order_release);
    std::memcpy(&destination[beforeEnd], view.storage.data(), destination.size() - beforeEnd);
  }
  buffer->readIndex.store(next, std::memory_order_release);
  return true;
}

}  // namespace kesto
