// What is in a job, element by element, for people and for programs.
//
// A list judges nothing: it goes on as long as elements can be read, so that a job with a fault can be looked at.
// The lister knows where it is in the job; a ListWriter puts what it finds into words.
#pragma once

#include <cstdint>
#include <memory>
#include <ostream>
#include <string>

#include "kestojob/reader/bytesource.h"
#include "kestojob/reader/element.h"
#include "kestojob/reader/fault.h"
#include "kestojob/reader/tagblock.h"

namespace kesto::job {

/// A data block, with the strip that it belongs to.
struct StripData {
  DataBlock block;
  std::uint64_t page = 0, strip = 0;  ///< counted from 1
  std::int64_t x = 0, y = 0;
  std::int64_t width = 0, height = 0;
  std::int64_t bytesPerPixel = 1;

  /// Bytes of its pixels before compression; a job with a fault may announce more than an integer holds.
  [[nodiscard]] double plainBytes() const {
    return static_cast<double>(width) * static_cast<double>(height) * static_cast<double>(bytesPerPixel);
  }
};

/// A strip's tag plane: how many pixels have which tag, or why that is not known.
struct TagSummary {
  TagCounts counts{};
  std::string damage;  ///< empty when the plane is good
};

class ListWriter {
 public:
  ListWriter() = default;
  ListWriter(const ListWriter&) = delete;
  ListWriter& operator=(const ListWriter&) = delete;
  virtual ~ListWriter() = default;

  /// Called where a job begins, for every job but the first one of a file.
  virtual void job(std::uint64_t offset, std::uint64_t number) = 0;
  virtual void npa(const NpaPacket& packet) = 0;
  virtual void pjl(const PjlLine& line) = 0;
  virtual void header(const StreamHeader& header) = 0;
  virtual void op(const Operator& op) = 0;
  virtual void image(const StripData& data) = 0;
  virtual void tags(const StripData& data, const TagSummary& tags) = 0;
  virtual void end(std::uint64_t offset, std::uint64_t pages, std::uint64_t strips) = 0;
  /// Called instead of `end` with the reason why the rest cannot be read, for readers that see nothing else.
  virtual void fault(const Fault& /*fault*/) {}
};

/// A line of text for each element: its offset, its kind, and what it says.
[[nodiscard]] std::unique_ptr<ListWriter> makeTextWriter(std::ostream& out);

/// A JSON array with an object for each element of all jobs, one a line. The writer's end closes it, whatever comes
/// before that.
[[nodiscard]] std::unique_ptr<ListWriter> makeJsonWriter(std::ostream& out);

/// Lists the job, the file's `number`th. Throws the Fault behind which nothing of the job can be read.
void listJob(ByteSource& source, ListWriter& writer, std::uint64_t number = 1);

}  // namespace kesto::job
