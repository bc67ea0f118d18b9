// A job's bytes, one after the other, from a file, a pipe or memory.
//
// Only a buffer's worth is held, so that a job of any length takes the same memory. Offsets count from the first byte
// of the file. It may hold several jobs: each of them ends where the next one begins, or with the file, so that a job
// that has lost its end cannot swallow the next one. A read past the end is a Fault that says where in the job it broke
// off; a read that fails is a FileError.
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
  /// Of the job's first byte.
  [[nodiscard]] std::uint64_t jobStart() const { return jobStart_; }
  /// Steps over what is left of this job. False when no other one follows.
  [[nodiscard]] bool nextJob();
  /// True when no byte of the job is left.
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
  void readMore();
  std::size_t endOfJob(std::size_t limit);

  int descriptor_ = -1;                 // -1: all that there is has been read
  std::vector<std::uint8_t> storage_;   // of what is read from the descriptor
  std::span<const std::uint8_t> held_;  // what has been read, from the view's first byte on
  std::span<const std::uint8_t> view_;  // what is known to be the job's
  std::size_t position_ = 0;            // within view_
  std::uint64_t base_ = 0;              // offset of the view's first byte
  std::uint64_t jobStart_ = 0;
  bool headerDue_ = false;  // the job began with status requests: the next start is its own
  bool jobEnded_ = false;   // behind the view the next job begins
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
