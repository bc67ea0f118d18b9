#include "kestojob/reader/element.h"

#include <algorithm>
#include <array>
#include <bit>

#include "pclxl/xlnames.h"

namespace kesto::job {
namespace {

using namespace xl;

constexpr auto DATA_TYPES = std::to_array<DataType>({
    {tag::ubyte, "ubyte", 1, 1},
    {tag::uint16, "uint16", 2, 1},
    {tag::uint32, "uint32", 4, 1},
    {tag::real32, "real32", 4, 1},
    {tag::ubyte_array, "ubyte_array", 1, 0},
    {tag::uint16_array, "uint16_array", 2, 0},
    {tag::sint16_array, "sint16_array", 2, 0},
    {tag::uint16_xy, "uint16_xy", 2, 2},
    {tag::sint16_xy, "sint16_xy", 2, 2},
    {tag::real32_xy, "real32_xy", 4, 2},
});

}  // namespace

const DataType* findDataType(std::uint8_t tag) {
  const auto found = std::ranges::find(DATA_TYPES, tag, &DataType::tag);
  return found == DATA_TYPES.end() ? nullptr : &*found;
}

std::int64_t Attribute::number(std::size_t index) const {
  if (index >= size()) return 0;
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < type->elementSize; ++i) {
    value |= std::uint32_t{bytes[index * type->elementSize + i]} << (8 * i);
  }
  const bool isSigned = type->tag == tag::sint16_xy || type->tag == tag::sint16_array;
  return isSigned ? static_cast<std::int16_t>(value) : std::int64_t{value};
}

float Attribute::real(std::size_t index) const {
  return std::bit_cast<float>(static_cast<std::uint32_t>(number(index)));
}

bool Attribute::isReal() const {
  return type->tag == tag::real32 || type->tag == tag::real32_xy;
}

std::string_view Attribute::text() const {
  // char may look at any object's bytes, so this cast is the one that is always allowed.
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

const Attribute* Operator::find(std::uint8_t id) const {
  const auto found = std::ranges::find(attributes, id, &Attribute::id);
  return found == attributes.end() ? nullptr : &*found;
}

}  // namespace kesto::job
