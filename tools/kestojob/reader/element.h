// What a job is made of, as it stands in the bytes: elements with their offsets, nothing judged yet.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace kesto::job {

/// A status request (IEEE 1284.1), which a USB job carries before its header.
struct NpaPacket {
  std::uint64_t offset = 0;
  std::vector<std::uint8_t> bytes;
};

/// A PJL line without its line feed. The universal exit that ends a job has none anyway.
struct PjlLine {
  std::uint64_t offset = 0;
  std::string text;
  bool terminated = true;  ///< false: it reached the length at which the sender cuts a line, or the job's end
};

/// The line that opens a PCL XL stream, without its line feed.
struct StreamHeader {
  std::uint64_t offset = 0;
  std::string text;
};

/// A PCL XL data type. Numbers are low byte first.
struct DataType {
  std::uint8_t tag;
  std::string_view name;
  std::uint8_t elementSize;
  std::uint8_t count;  ///< elements; 0 for an array, which carries its own count
};

/// The type of a tag, or null for a tag that is no data type of these jobs.
[[nodiscard]] const DataType* findDataType(std::uint8_t tag);

/// An attribute: its id and its value's bytes as they stand in the stream.
struct Attribute {
  std::uint64_t offset = 0;  ///< of the data type tag
  std::uint8_t id = 0;
  const DataType* type = nullptr;
  std::vector<std::uint8_t> bytes;

  [[nodiscard]] std::size_t size() const { return bytes.size() / type->elementSize; }
  /// Element `index` as a number; signed types are widened with their sign. 0 beyond the last one.
  [[nodiscard]] std::int64_t number(std::size_t index = 0) const;
  /// Element `index` of a real32 type.
  [[nodiscard]] float real(std::size_t index = 0) const;
  [[nodiscard]] bool isReal() const;
  [[nodiscard]] std::string_view text() const;  ///< the bytes as text
};

/// An operator with the attributes before it, in their order.
struct Operator {
  std::uint64_t offset = 0;      ///< of the first attribute, or of the code
  std::uint64_t codeOffset = 0;  ///< of the code
  std::uint8_t code = 0;
  std::vector<Attribute> attributes;

  [[nodiscard]] const Attribute* find(std::uint8_t id) const;
};

/// The announcement of embedded data; the data are still to be read from the source.
struct DataBlock {
  std::uint64_t offset = 0;  ///< of the length's tag
  std::uint32_t length = 0;
};

using Element = std::variant<NpaPacket, PjlLine, StreamHeader, Operator, DataBlock>;

}  // namespace kesto::job
