#include "pclxl/pclxl.h"

#include <cstddef>
#include <cstring>
#include <span>

#include "pclxl/xlnames.h"

namespace kesto {

namespace {

static_assert(sizeof(float) == 4, "real32 is the four-byte IEEE 754 form");

/// The longest element that is written in one call: an attribute with two real32 values.
constexpr std::size_t LONGEST_ELEMENT = 11;

/// One element, put together byte by byte and handed to the sink in one call.
class Element {
 public:
  Element& byte(std::uint8_t value) {
    bytes_[length_++] = value;
    return *this;
  }
  Element& uint16(std::uint16_t value) {
    return byte(static_cast<std::uint8_t>(value)).byte(static_cast<std::uint8_t>(value >> 8));
  }
  Element& uint32(std::uint32_t value) {
    return uint16(static_cast<std::uint16_t>(value)).uint16(static_cast<std::uint16_t>(value >> 16));
  }
  Element& real32(const float* value) {
    std::array<std::uint8_t, sizeof(float)> parts;
    std::memcpy(parts.data(), value, parts.size());  // a float with its bytes swapped is no number to be loaded
    for (const std::uint8_t part : parts) byte(part);
    return *this;
  }
  Element& attribute(std::uint8_t id) { return byte(xl::tag::attr_ubyte).byte(id); }

  void send(XLWriteFunction write) const {
    if (write != nullptr) write(bytes_.data(), length_);
  }

 private:
  std::array<std::uint8_t, LONGEST_ELEMENT> bytes_{};
  std::uint32_t length_ = 0;
};

/// The bytes of one array element.
Element element(std::uint8_t value) {
  return Element().byte(value);
}
Element element(std::uint16_t value) {
  return Element().uint16(value);
}
Element element(std::int16_t value) {
  return Element().uint16(static_cast<std::uint16_t>(value));
}

template <class Value>
void outputArray(XLWriteFunction write, xl::tag::Tag type, std::uint8_t id, std::span<const Value> values) {
  const auto count = static_cast<std::uint16_t>(values.size());
  Element header;
  header.byte(type);
  if (count <= 0xFF) {
    header.byte(xl::tag::ubyte).byte(static_cast<std::uint8_t>(count));
  } else {
    header.byte(xl::tag::uint16).uint16(count);
  }
  header.send(write);
  for (const Value value : values) element(value).send(write);
  Element().attribute(id).send(write);
}

}  // namespace

void outputOperator(XLWriteFunction write, std::uint8_t code) {
  Element().byte(code).send(write);
}

void outputXLAttrByte(XLWriteFunction write, std::uint8_t id, std::uint8_t value) {
  Element().byte(xl::tag::ubyte).byte(value).attribute(id).send(write);
}

void outputXLAttrUInt16(XLWriteFunction write, std::uint8_t id, std::uint16_t value) {
  Element().byte(xl::tag::uint16).uint16(value).attribute(id).send(write);
}

void outputXLAttrUInt32(XLWriteFunction write, std::uint8_t id, std::uint32_t value) {
  Element().byte(xl::tag::uint32).uint32(value).attribute(id).send(write);
}

void outputXLAttrReal32(XLWriteFunction write, std::uint8_t id, const float* value) {
  Element().byte(xl::tag::real32).real32(value).attribute(id).send(write);
}

void outputXLAttrUInt16XY(XLWriteFunction write, std::uint8_t id, std::uint16_t x, std::uint16_t y) {
  Element().byte(xl::tag::uint16_xy).uint16(x).uint16(y).attribute(id).send(write);
}

void outputXLAttrSInt16XY(XLWriteFunction write, std::uint8_t id, std::int16_t x, std::int16_t y) {
  const auto lowX = static_cast<std::uint16_t>(x);
  const auto lowY = static_cast<std::uint16_t>(y);
  Element().byte(xl::tag::sint16_xy).uint16(lowX).uint16(lowY).attribute(id).send(write);
}

void outputXLAttrReal32XY(XLWriteFunction write, std::uint8_t id, const float* x, const float* y) {
  Element().byte(xl::tag::real32_xy).real32(x).real32(y).attribute(id).send(write);
}

void outputXLAttrByteArray(XLWriteFunction write, std::uint8_t id, const std::uint8_t* elements, std::uint16_t count) {
  outputArray(write, xl::tag::ubyte_array, id, std::span(elements, count));
}

void outputXLAttrUInt16Array(XLWriteFunction write, std::uint8_t id, const std::uint16_t* elements,
                             std::uint16_t count) {
  outputArray(write, xl::tag::uint16_array, id, std::span(elements, count));
}

void outputXLAttrSInt16Array(XLWriteFunction write, std::uint8_t id, const std::int16_t* elements,
                             std::uint16_t count) {
  outputArray(write, xl::tag::sint16_array, id, std::span(elements, count));
}

void outputXLEmbedData(XLWriteFunction write, std::uint32_t length) {
  Element().byte(xl::tag::embedded_data).uint32(length).send(write);
}

}  // namespace kesto
