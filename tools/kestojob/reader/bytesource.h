// A job's bytes, one after the other, from a file, a pipe or memory.
//
// Only a buffer's worth is held, so that a job of any length takes the same memory. Offsets count from the first byte.
// A read past the end is a Fault that says where in the job it broke off; a read that fails is a FileError.
//
// One thread uses a source.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace kesto::job {

class ByteSource {
 public:
  /// Reads from a descriptor, which stays the caller's.
  explicit ByteSource(int descriptor);
  /// Reads from memory, which has to outlive the source.
  explicit ByteSource(std::span<const std::uint8_t> bytes);
  ByteSource(const ByteSource&) = delete;
  ByteSource& operator=(const ByteSource&) = delete;

  [[nodiscard]] std::uint64_t offset() const { return base_ + position_; }
  /// True when no byte is left.
  [[nodiscard]] bool atEnd() { return available().empty(); }
  /// The next bytes as far as they are at hand: at least one, unless the job has ended.
  [[nodiscard]] std::span<const std::uint8_t> available() {
    if (position_ == view_.size()) refill();
    return view_.subspan(position_);
  }
  /// Steps over bytes that `available` has shown.
  void advance(std::size_t count) { position_ += count; }

  [[nodiscard]] std::uint8_t peek();
  std::uint8_t byte();
  void read(std::span<std::uint8_t> bytes);
  void skip(std::uint64_t count);

  /// Names what is being read, for the message about a job that ends there: "a PJL line".
  void setPlace(const char* place) { place_ = place; }
  [[noreturn]] void failAtEnd() const;

 private:
  void refill();

  int descriptor_ = -1;
  std::vector<std::uint8_t> storage_;
  std::span<const std::uint8_t> view_;
  std::size_t position_ = 0;  // within view_
  std::uint64_t base_ = 0;    // offset of the view's first byte
  const char* place_ = "its first element";
};

/// A part of the source whose length stands before it: the data block of an image.
///
/// Reading past the announced length is a Fault, as reading past the job's end is.
class BlockReader {
 public:
  BlockReader(ByteSource& source, std::uint64_t length) : source_(source), left_(length) {}

  [[nodiscard]] std::uint64_t left() const { return left_; }
  [[nodiscard]] std::uint64_t offset() const { return source_.offset(); }
  /// The next bytes as far as they are at hand, at least one; `what` names what would be incomplete without it.
  [[nodiscard]] std::span<const std::uint8_t> available(const char* what);
  void advance(std::size_t count);
  std::uint8_t byte(const char* what);

 private:
  ByteSource& source_;
  std::uint64_t left_;
};

}  // namespace kesto::job
