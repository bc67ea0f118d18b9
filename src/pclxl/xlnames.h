// The vocabulary of the PCL XL streams that this filter writes (PCL XL protocol class 2.1).
//
// Codes have the standard's names. What the printer adds to the standard is named by its number where its meaning is
// not known. The writer uses the constants; readers of a job turn codes back into names with the lookups, which know
// just what the filter writes. Everything here is constant, so any thread may use it.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>
#include <string_view>

namespace kesto::xl {

/// Data type tags, written before a value.
namespace tag {
enum Tag : std::uint8_t {
  ubyte = 0xC0,
  uint16 = 0xC1,
  uint32 = 0xC2,
  real32 = 0xC5,
  ubyte_array = 0xC8,
  uint16_array = 0xC9,
  sint16_array = 0xCB,
  uint16_xy = 0xD1,
  sint16_xy = 0xD3,
  real32_xy = 0xD5,
  attr_ubyte = 0xF8,     ///< the one byte that follows is an attribute id
  embedded_data = 0xFA,  ///< a uint32 byte count follows, then the data
};
}  // namespace tag

/// Operator codes.
namespace op {
enum Operator : std::uint8_t {
  operator0x40 = 0x40,  ///< printer-specific; takes attributes 0xEF and 0xEE
  BeginSession = 0x41,
  EndSession = 0x42,
  BeginPage = 0x43,
  EndPage = 0x44,
  Comment = 0x47,
  OpenDataSource = 0x48,
  CloseDataSource = 0x49,
  SetColorSpace = 0x6A,
  SetCursor = 0x6B,
  SetPageOrigin = 0x75,
  SetPageScale = 0x77,
  SetROP = 0x7B,
  BeginImage = 0xB0,
  ReadImage = 0xB1,
  EndImage = 0xB2,
};
}  // namespace op

/// Attribute ids. Those from 0xEA on are the printer's own.
namespace attr {
enum Attribute : std::uint8_t {
  ColorSpace = 0x03,
  MediaSize = 0x25,
  MediaSource = 0x26,
  MediaType = 0x27,
  Orientation = 0x28,
  PageOrigin = 0x2A,
  PageScale = 0x2B,
  ROP3 = 0x2C,
  CustomMediaSize = 0x2F,
  CustomMediaSizeUnits = 0x30,
  PageCopies = 0x31,
  Point = 0x4C,
  ColorDepth = 0x62,
  BlockHeight = 0x63,
  ColorMapping = 0x64,
  CompressMode = 0x65,
  DestinationSize = 0x67,
  SourceHeight = 0x6B,
  SourceWidth = 0x6C,
  StartLine = 0x6D,
  CommentData = 0x81,
  DataOrg = 0x82,
  Measure = 0x86,
  SourceType = 0x88,
  UnitsPerMeasure = 0x89,
  ErrorReport = 0x8F,
  attribute0xEA = 0xEA,  ///< ubyte, on a grey scale page
  attribute0xEB = 0xEB,  ///< ubyte, the threshold of a black and white page
  attribute0xEC = 0xEC,  ///< uint16, the number of copies
  BorderType = 0xED,
  attribute0xEE = 0xEE,  ///< ubyte, 1 on a colour page
  attribute0xEF = 0xEF,  ///< ubyte
  attribute0xF6 = 0xF6,  ///< uint16
  attribute0xF7 = 0xF7,  ///< uint16, the resolution in dots per inch
  attribute0xF8 = 0xF8,  ///< uint16
  attribute0xF9 = 0xF9,  ///< ubyte
  attribute0xFA = 0xFA,  ///< ubyte
};
}  // namespace attr

// Enumerated values, by attribute.
enum MeasureValue : std::uint8_t { eInch = 0 };  ///< also CustomMediaSizeUnits
enum ErrorReportValue : std::uint8_t { eBackChAndErrPage = 3 };
enum SourceTypeValue : std::uint8_t { eDefaultDataSource = 0 };
enum DataOrgValue : std::uint8_t { eBinaryLowByteFirst = 1 };
enum OrientationValue : std::uint8_t { ePortraitOrientation = 0 };
enum BorderTypeValue : std::uint8_t { eNoBorder = 1, eWithBorder = 2 };
enum ColorSpaceValue : std::uint8_t { eGray = 1, eRGB = 2, eBlackAndWhite = 3 };  ///< 3 is the printer's own
enum ColorMappingValue : std::uint8_t { eDirectPixel = 0 };
enum ColorDepthValue : std::uint8_t { e8Bit = 2 };
enum CompressModeValue : std::uint8_t {
  eWicketCompression = 246,
  eTbrleCompression = 247
};  ///< both the printer's own
enum ROP3Value : std::uint8_t { eSourceCopy = 204 };

/// A code and its name.
struct Name {
  std::uint8_t code;
  std::string_view name;
};

/// A value of an attribute and its name.
struct ValueName {
  std::uint8_t attribute;
  std::uint8_t value;
  std::string_view name;
};

/// The operators in rising order of code.
inline constexpr auto OPERATORS = std::to_array<Name>({
    {op::operator0x40, "operator0x40"},
    {op::BeginSession, "BeginSession"},
    {op::EndSession, "EndSession"},
    {op::BeginPage, "BeginPage"},
    {op::EndPage, "EndPage"},
    {op::Comment, "Comment"},
    {op::OpenDataSource, "OpenDataSource"},
    {op::CloseDataSource, "CloseDataSource"},
    {op::SetColorSpace, "SetColorSpace"},
    {op::SetCursor, "SetCursor"},
    {op::SetPageOrigin, "SetPageOrigin"},
    {op::SetPageScale, "SetPageScale"},
    {op::SetROP, "SetROP"},
    {op::BeginImage, "BeginImage"},
    {op::ReadImage, "ReadImage"},
    {op::EndImage, "EndImage"},
});

/// The attributes in rising order of id.
inline constexpr auto ATTRIBUTES = std::to_array<Name>({
    {attr::ColorSpace, "ColorSpace"},
    {attr::MediaSize, "MediaSize"},
    {attr::MediaSource, "MediaSource"},
    {attr::MediaType, "MediaType"},
    {attr::Orientation, "Orientation"},
    {attr::PageOrigin, "PageOrigin"},
    {attr::PageScale, "PageScale"},
    {attr::ROP3, "ROP3"},
    {attr::CustomMediaSize, "CustomMediaSize"},
    {attr::CustomMediaSizeUnits, "CustomMediaSizeUnits"},
    {attr::PageCopies, "PageCopies"},
    {attr::Point, "Point"},
    {attr::ColorDepth, "ColorDepth"},
    {attr::BlockHeight, "BlockHeight"},
    {attr::ColorMapping, "ColorMapping"},
    {attr::CompressMode, "CompressMode"},
    {attr::DestinationSize, "DestinationSize"},
    {attr::SourceHeight, "SourceHeight"},
    {attr::SourceWidth, "SourceWidth"},
    {attr::StartLine, "StartLine"},
    {attr::CommentData, "CommentData"},
    {attr::DataOrg, "DataOrg"},
    {attr::Measure, "Measure"},
    {attr::SourceType, "SourceType"},
    {attr::UnitsPerMeasure, "UnitsPerMeasure"},
    {attr::ErrorReport, "ErrorReport"},
    {attr::attribute0xEA, "attribute0xEA"},
    {attr::attribute0xEB, "attribute0xEB"},
    {attr::attribute0xEC, "attribute0xEC"},
    {attr::BorderType, "BorderType"},
    {attr::attribute0xEE, "attribute0xEE"},
    {attr::attribute0xEF, "attribute0xEF"},
    {attr::attribute0xF6, "attribute0xF6"},
    {attr::attribute0xF7, "attribute0xF7"},
    {attr::attribute0xF8, "attribute0xF8"},
    {attr::attribute0xF9, "attribute0xF9"},
    {attr::attribute0xFA, "attribute0xFA"},
});

/// The enumerated values, one row for each attribute and value.
inline constexpr auto VALUES = std::to_array<ValueName>({
    {attr::ColorSpace, eGray, "eGray"},
    {attr::ColorSpace, eRGB, "eRGB"},
    {attr::ColorSpace, eBlackAndWhite, "eBlackAndWhite"},
    {attr::Orientation, ePortraitOrientation, "ePortraitOrientation"},
    {attr::ROP3, eSourceCopy, "eSourceCopy"},
    {attr::CustomMediaSizeUnits, eInch, "eInch"},
    {attr::ColorDepth, e8Bit, "e8Bit"},
    {attr::ColorMapping, eDirectPixel, "eDirectPixel"},
    {attr::CompressMode, eWicketCompression, "eWicketCompression"},
    {attr::CompressMode, eTbrleCompression, "eTbrleCompression"},
    {attr::DataOrg, eBinaryLowByteFirst, "eBinaryLowByteFirst"},
    {attr::Measure, eInch, "eInch"},
    {attr::SourceType, eDefaultDataSource, "eDefaultDataSource"},
    {attr::ErrorReport, eBackChAndErrPage, "eBackChAndErrPage"},
    {attr::BorderType, eNoBorder, "eNoBorder"},
    {attr::BorderType, eWithBorder, "eWithBorder"},
});

namespace detail {

constexpr std::string_view nameOf(std::span<const Name> names, std::uint8_t code) {
  const auto found = std::ranges::lower_bound(names, code, {}, &Name::code);
  return found != names.end() && found->code == code ? found->name : std::string_view();
}

constexpr bool isRising(std::span<const Name> names) {
  return std::ranges::adjacent_find(names, std::ranges::greater_equal(), &Name::code) == names.end();
}

}  // namespace detail

static_assert(detail::isRising(OPERATORS) && detail::isRising(ATTRIBUTES), "lookups halve the tables");

/// The name of an operator code; empty for a code that the filter never writes.
constexpr std::string_view operatorName(std::uint8_t code) {
  return detail::nameOf(OPERATORS, code);
}

/// The name of an attribute id; empty for an id that the filter never writes.
constexpr std::string_view attributeName(std::uint8_t id) {
  return detail::nameOf(ATTRIBUTES, id);
}

/// The name of an attribute's value; empty where the value is a plain number.
constexpr std::string_view valueName(std::uint8_t attribute, std::uint8_t value) {
  const auto found = std::ranges::find_if(
      VALUES, [=](const ValueName& row) { return row.attribute == attribute && row.value == value; });
  return found != VALUES.end() ? found->name : std::string_view();
}

}  // namespace kesto::xl
