// A circular byte buffer between two threads.
//
// One thread, the producer, stores; one other thread, the consumer, takes out; each store or take-out happens whole or
// not at all. Storage is one byte longer than the capacity: that slot always stays empty, so the two indices alone
// distinguish a full ring from an empty one, and each index has a single writer.
//
// The side that owns an index reads it relaxed and publishes it with release after the bytes are in place; the other
// side reads it with acquire, so whoever sees an index moved also sees the bytes that it covers. A wrapped copy moves
// the index to 0 between its two pieces, which is just as true a position, so either side may look at any moment.
#pragma once

#include <atomic>
#include <cstdint>

namespace kesto {

struct cbuffer {
  std::atomic<std::uint32_t> size{0};        ///< capacity N in bytes; written by create and free only
  std::atomic<std::uint32_t> writeIndex{0};  ///< next byte to store, 0 to N; written by the producer, read by both
  std::atomic<std::uint32_t> readIndex{0};   ///< next byte to take out, 0 to N; written by the consumer, read by both
  std::atomic<std::uint8_t*> data{nullptr};  ///< N + 1 bytes, owned; null before create, after free or without memory
};

/// Prepares an empty ring for `capacity` bytes, not initialised. Storage that the record already holds is released.
///
/// Returns false, after an "ERROR:" line on standard error, when there is no memory; the ring then has the size asked
/// for and no storage, so neither space nor bytes. Before any other thread knows the ring.
[[nodiscard]] bool cbufferCreate(cbuffer* buffer, std::uint32_t capacity);

/// Releases the storage and makes the ring one of size 0, without bytes and without space.
///
/// Producer thread only. The consumer may go on asking for bytes: it finds none. It must not be inside a take-out,
/// which is sure when the ring was empty, since a consumer copies only bytes that it has seen.
void cbufferFree(cbuffer* buffer);

/// Whether the two indices are equal.
[[nodiscard]] bool cbufferIsEmpty(const cbuffer* buffer);

/// Whether one more byte would make the indices equal again. A ring of size 0 is both empty and full.
[[nodiscard]] bool cbufferIsFull(const cbuffer* buffer);

/// Free space in bytes, never negative; INT32_MAX stands for anything above it. 0 without storage.
///
/// Exact for the producer; for any other thread it may already be more.
[[nodiscard]] std::int32_t cbufferGetAvailableSpace(const cbuffer* buffer);

/// Bytes stored. 0 without storage. Exact for the consumer; for any other thread it may already be less or more.
[[nodiscard]] std::uint32_t cbufferGetAvailableBytes(const cbuffer* buffer);

/// Appends `count` bytes, or none of them.
///
/// Returns false, with the ring unchanged, when `count` exceeds the free space. Producer thread only: the free space
/// that it saw before this call can only have grown.
[[nodiscard]] bool cbufferWriteBytes(cbuffer* buffer, const std::uint8_t* bytes, std::uint32_t count);

/// The next `count` bytes where they lie, or null when fewer are stored or when they cross the end of storage.
///
/// They stay what they are until they are taken out. Consumer thread only.
[[nodiscard]] const std::uint8_t* cbufferPeekBytes(const cbuffer* buffer, std::uint32_t count);

/// Takes `count` bytes out without copying them, or none of them.
///
/// Returns false, with the ring unchanged, when `count` exceeds the bytes stored. Consumer thread only.
[[nodiscard]] bool cbufferSkipBytes(cbuffer* buffer, std::uint32_t count);

/// Where the next `count` bytes go, or null when they exceed the free space or would cross the end of storage.
///
/// What is written there is no part of the ring before it is committed. Producer thread only.
[[nodiscard]] std::uint8_t* cbufferReserveBytes(cbuffer* buffer, std::uint32_t count);

/// Appends the `count` bytes that have been written where cbufferReserveBytes said, or none of them.
///
/// Returns false, with the ring unchanged, when `count` exceeds the free space. Producer thread only.
[[nodiscard]] bool cbufferCommitBytes(cbuffer* buffer, std::uint32_t count);

/// Takes `count` bytes out in the order in which they were stored, or none of them.
///
/// Returns false, with ring and destination unchanged, when `count` exceeds the bytes stored. Consumer thread only.
[[nodiscard]] bool cbufferReadBytes(cbuffer* buffer, std::uint8_t* bytes, std::uint32_t count);

}  // namespace kesto
