#include "kestojob/reader/elementreader.h"

#include <string_view>

#include "jobsettings/pjlnames.h"
#include "kestojob/reader/fault.h"
#include "kestojob/reader/jobstart.h"
#include "kestojob/reader/pjlformat.h"
#include "kestojob/reader/text.h"
#include "pclxl/xlnames.h"

namespace kesto::job {
namespace {

using namespace xl;

constexpr std::uint8_t ESCAPE = 0x1B;
constexpr std::string_view ENTER_LANGUAGE = "@PJL ENTER LANGUAGE=";

/// The length at which the sender cuts a line.
constexpr std::size_t LONGEST_PJL_LINE = 2047;
/// A PCL XL stream header is 64 bytes here; other senders write longer ones.
constexpr std::size_t LONGEST_STREAM_HEADER = 1024;
/// More attributes than there are ids cannot be meant.
constexpr std::size_t MOST_ATTRIBUTES = 256;

std::uint32_t readNumber(ByteSource& source, std::size_t bytes) {
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < bytes; ++i) value |= std::uint32_t{source.byte()} << (8 * i);
  return value;
}

}  // namespace

std::optional<Element> ElementReader::next() {
  if (source_.offset() < dataEnd_) {
    source_.setPlace("image data");
    source_.skip(dataEnd_ - source_.offset());
  }
  if (source_.atEnd()) return std::nullopt;
  const std::uint8_t first = source_.peek();
  if (language_ == Language::PCLXL && first != ESCAPE) {
    if (!headerRead_) return readStreamHeader();
    if (first == tag::embedded_data) return readDataBlock();
    return readOperator();
  }
  if (language_ != Language::PJL && first == NPA_START) return readNpaPacket();
  if (language_ == Language::NONE && first != ESCAPE && first != '@') {
    throw Fault(source_.offset(), "Here is neither an NPA packet nor PJL, so this is no job of these printers.");
  }
  return readPjlLine();
}

NpaPacket ElementReader::readNpaPacket() {
  source_.setPlace("an NPA packet");
  NpaPacket packet{source_.offset(), std::vector<std::uint8_t>(3)};
  source_.read(packet.bytes);
  const std::size_t length = std::size_t{packet.bytes[1]} << 8 | packet.bytes[2];
  packet.bytes.resize(3 + length);
  source_.read(std::span(packet.bytes).subspan(3));
  return packet;
}

PjlLine ElementReader::readPjlLine() {
  source_.setPlace("a PJL line");
  language_ = Language::PJL;
  PjlLine line{source_.offset(), {}};
  while (line.text.size() < LONGEST_PJL_LINE) {
    if (line.text == UNIVERSAL_EXIT && (source_.atEnd() || source_.peek() != '@')) {
      language_ = Language::NONE;
      break;
    }
    const auto c = static_cast<char>(source_.byte());
    if (c == '\n') {
      if (matchPjl(PJL_ENTER_XL, line)) {
        language_ = Language::PCLXL;
        headerRead_ = false;
      } else if (line.text.starts_with(ENTER_LANGUAGE)) {
        throw Fault(line.offset, "The job goes on in " + printable(line.text.substr(ENTER_LANGUAGE.size())) +
                                     ", which is not read here.");
      }
      return line;
    }
    line.text += c;
  }
  line.terminated = false;
  return line;
}

StreamHeader ElementReader::readStreamHeader() {
  source_.setPlace("the PCL XL stream header");
  StreamHeader header{source_.offset(), {}};
  for (char c = static_cast<char>(source_.byte()); c != '\n'; c = static_cast<char>(source_.byte())) {
    if (header.text.size() == LONGEST_STREAM_HEADER) {
      throw Fault(header.offset, "The PCL XL stream header does not end.");
    }
    header.text += c;
  }
  headerRead_ = true;
  return header;
}

Operator ElementReader::readOperator() {
  source_.setPlace("a PCL XL operator");
  Operator op{source_.offset(), 0, 0, {}};
  while (source_.peek() >= tag::ubyte) {
    if (op.attributes.size() == MOST_ATTRIBUTES) throw Fault(source_.offset(), "A list of attributes does not end.");
    op.attributes.push_back(readAttribute());
  }
  op.codeOffset = source_.offset();
  op.code = source_.byte();
  return op;
}

Attribute ElementReader::readAttribute() {
  Attribute attribute;
  attribute.offset = source_.offset();
  const std::uint8_t typeTag = source_.byte();
  attribute.type = findDataType(typeTag);
  if (attribute.type == nullptr) {
    throw Fault(attribute.offset, hexByte(typeTag) + " is neither an operator nor a data type of these jobs.");
  }
  std::size_t count = attribute.type->count;
  if (count == 0) {
    const std::uint8_t countTag = source_.byte();
    if (countTag != tag::ubyte && countTag != tag::uint16) {
      throw Fault(attribute.offset, "An array has no count.");
    }
    count = readNumber(source_, countTag == tag::ubyte ? 1 : 2);
  }
  attribute.bytes.resize(count * attribute.type->elementSize);
  source_.read(attribute.bytes);
  const std::uint64_t idOffset = source_.offset();
  if (source_.byte() != tag::attr_ubyte) throw Fault(idOffset, "A value has no attribute.");
  attribute.id = source_.byte();
  return attribute;
}

DataBlock ElementReader::readDataBlock() {
  source_.setPlace("the length of image data");
  DataBlock block{source_.offset(), 0};
  source_.byte();
  block.length = readNumber(source_, sizeof block.length);
  dataEnd_ = source_.offset() + block.length;
  source_.setPlace("image data");
  return block;
}

}  // namespace kesto::job
