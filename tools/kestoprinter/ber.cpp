#include "kestoprinter/ber.h"

#include <limits>

namespace kesto::printer {
namespace {

constexpr std::uint8_t LONG_FORM = 0x80;       // of a length: the low bits count the bytes that follow
constexpr std::uint8_t MORE_FOLLOWS = 0x80;    // in a number of an object identifier, 7 bits a byte
constexpr std::uint8_t LONG_TAG = 0x1F;        // a tag of more than one byte, of which SNMP has none
constexpr std::size_t MAX_OID_NUMBERS = 128;   // RFC 3416, section 4.1
constexpr std::uint32_t ARCS_BELOW_ROOT = 40;  // the first two numbers are one: 40 * first + second

}  // namespace

std::uint8_t BerReader::takeByte() {
  if (rest_.empty()) throw BerError("an element is cut off");
  const std::uint8_t byte = rest_.front();
  rest_ = rest_.subspan(1);
  return byte;
}

std::uint8_t BerReader::tag() const {
  return BerReader(*this).takeByte();
}

std::size_t BerReader::takeLength() {
  std::size_t length = takeByte();
  if (length >= LONG_FORM) {
    const std::size_t bytes = length - LONG_FORM;
    if (bytes == 0 || bytes > sizeof(std::uint32_t)) throw BerError("a length of no usable form");
    length = 0;
    for (std::size_t i = 0; i < bytes; ++i) length = length << 8 | takeByte();
  }
  if (length > rest_.size()) throw BerError("an element reaches beyond its container");
  return length;
}

std::span<const std::uint8_t> BerReader::contents(std::uint8_t tag) {
  if (takeByte() != tag) throw BerError("an element of another type");
  const std::size_t length = takeLength();
  const auto contents = rest_.first(length);
  rest_ = rest_.subspan(length);
  return contents;
}

std::int32_t BerReader::integer() {
  const auto bytes = contents(BER_INTEGER);
  if (bytes.empty() || bytes.size() > sizeof(std::uint32_t)) throw BerError("a number of no usable size");
  std::uint32_t value = (bytes[0] & 0x80) != 0 ? std::numeric_limits<std::uint32_t>::max() : 0;
  for (const std::uint8_t byte : bytes) value = value << 8 | byte;
  return static_cast<std::int32_t>(value);
}

std::string BerReader::octets() {
  const auto bytes = contents(BER_OCTET_STRING);
  return {bytes.begin(), bytes.end()};
}

Oid BerReader::oid() {
  Oid oid;
  std::uint64_t number = 0;
  bool complete = false;
  for (const std::uint8_t byte : contents(BER_OID)) {
    number = number << 7 | (byte & (MORE_FOLLOWS - 1U));
    if (number > std::numeric_limits<std::uint32_t>::max()) throw BerError("a number in a name is too large");
    complete = (byte & MORE_FOLLOWS) == 0;
    if (!complete) continue;
    if (oid.empty()) {
      oid.push_back(number < 2 * ARCS_BELOW_ROOT ? static_cast<std::uint32_t>(number / ARCS_BELOW_ROOT) : 2);
      number -= oid[0] * ARCS_BELOW_ROOT;
    }
    oid.push_back(static_cast<std::uint32_t>(number));
    number = 0;
    if (oid.size() > MAX_OID_NUMBERS) throw BerError("a name is too long");
  }
  if (!complete) throw BerError("a name is cut off");
  return oid;
}

Bytes BerReader::element() {
  const auto start = rest_;
  const std::uint8_t tag = this->tag();
  if ((tag & LONG_TAG) == LONG_TAG) throw BerError("a tag of more than one byte");
  contents(tag);
  const auto whole = start.first(start.size() - rest_.size());
  return {whole.begin(), whole.end()};
}

void BerReader::expectEnd() const {
  if (!atEnd()) throw BerError("bytes behind the last element");
}

Bytes berElement(std::uint8_t tag, const Bytes& contents) {
  Bytes length;
  for (std::size_t left = contents.size(); left > 0; left >>= 8) {
    length.insert(length.begin(), static_cast<std::uint8_t>(left));
  }
  if (contents.size() < LONG_FORM) {
    length.assign(1, static_cast<std::uint8_t>(contents.size()));
  } else {
    length.insert(length.begin(), static_cast<std::uint8_t>(LONG_FORM + length.size()));
  }
  return Bytes{tag} + length + contents;
}

Bytes berInteger(std::int64_t value, std::uint8_t tag) {
  Bytes bytes;
  std::int64_t left = value;
  do {
    bytes.insert(bytes.begin(), static_cast<std::uint8_t>(left & 0xFF));
    left >>= 8;
    // Done when what is left is the sign of the first byte, all zeros or all ones.
  } while (left != ((bytes[0] & 0x80) != 0 ? -1 : 0));
  return berElement(tag, bytes);
}

Bytes berOctets(std::string_view text) {
  return berElement(BER_OCTET_STRING, {text.begin(), text.end()});
}

Bytes berOid(const Oid& oid) {
  Bytes contents;
  const auto append = [&contents](std::uint64_t number) {
    Bytes digits = {static_cast<std::uint8_t>(number & (MORE_FOLLOWS - 1))};
    while ((number >>= 7) > 0) digits.insert(digits.begin(), static_cast<std::uint8_t>(number | MORE_FOLLOWS));
    contents.insert(contents.end(), digits.begin(), digits.end());
  };
  append(std::uint64_t{oid.at(0)} * ARCS_BELOW_ROOT + oid.at(1));
  for (std::size_t i = 2; i < oid.size(); ++i) append(oid[i]);
  return berElement(BER_OID, contents);
}

}  // namespace kesto::printer
