// Lines of a page that have been read and do not fit the line-block ring yet.
//
// A renderer delivers a finished page in one burst, faster than the page is compressed; the more of it is taken at
// once, the sooner the renderer is free for the next page. Most of a page is white, and white stretches are not stored:
//
//   record   a bit for every chunk of 32 bytes, 1 unless the chunk is white; the chunks that are not, in their order;
//            the bytes after the last whole chunk
//
// Lines come out in the order in which they went in. Why not whole blocks: decisions.md#read-ahead. Job thread only.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace kesto {

class LineStore {
 public:
  /// A store for lines of `lineBytes` bytes in `capacity` bytes of memory, or what a line block's lines may take if
  /// that is more. Throws std::bad_alloc.
  LineStore(std::size_t lineBytes, std::size_t capacity);

  /// Lines that are stored.
  [[nodiscard]] std::size_t size() const { return size_; }

  /// True when another line fits, whatever it holds.
  [[nodiscard]] bool hasRoom() const;

  /// Where the next line is to be written. There has to be room for it.
  [[nodiscard]] std::span<std::uint8_t> next();

  /// Adds the line that has been written to `next`.
  void push();

  /// Takes the oldest line out into `line`. There has to be one.
  void pop(std::span<std::uint8_t> line);

 private:
  std::size_t lineBytes_;
  std::size_t mapBytes_;   ///< of a record's bits
  std::size_t mostBytes_;  ///< that a record may take
  std::size_t capacity_;
  std::unique_ptr<std::uint8_t[]> bytes_;  ///< not initialised: the system gives memory only for what is used
  std::size_t write_ = 0;                  ///< where the next record goes
  std::size_t read_ = 0;                   ///< where the oldest one begins
  std::size_t wrap_ = 0;  ///< where the records end that are older than those at the start of the memory; 0: none are
  std::size_t size_ = 0;
};

}  // namespace kesto
