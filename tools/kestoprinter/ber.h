// The part of ASN.1's Basic Encoding Rules (ITU-T X.690) that SNMP messages are written in (RFC 3417, section 8).
//
// The reader believes nothing: a length that reaches beyond its container, an indefinite length, a number or a name
// that is too large is a BerError, and nothing outside the bytes given is looked at. The writer uses the shortest form.
#pragma once

#include <algorithm>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "kestoprinter/answers.h"

namespace kesto::printer {

/// An object identifier, at least two numbers.
using Oid = std::vector<std::uint32_t>;

/// The order of objects in a walk: that of vectors, but not by their operators, for where numbers begin with their
/// highest byte those of gcc 12's library look at a quarter of the bytes only.
struct OidOrder {
  bool operator()(const Oid& a, const Oid& b) const { return std::ranges::lexicographical_compare(a, b); }
};

/// Bytes that are not what they should be.
class BerError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

enum BerTag : std::uint8_t {
  BER_INTEGER = 0x02,
  BER_OCTET_STRING = 0x04,
  BER_NULL = 0x05,
  BER_OID = 0x06,
  BER_SEQUENCE = 0x30,
  BER_COUNTER32 = 0x41,  // these two: RFC 2578, section 2
  BER_TIME_TICKS = 0x43,
};

/// Reads elements one behind the other. Every function that reads throws BerError.
class BerReader {
 public:
  /// The bytes have to outlive the reader.
  explicit BerReader(std::span<const std::uint8_t> bytes) : rest_(bytes) {}

  [[nodiscard]] bool atEnd() const { return rest_.empty(); }
  /// The tag of the next element.
  [[nodiscard]] std::uint8_t tag() const;
  /// The contents of the next element, which must have this tag.
  BerReader enter(std::uint8_t tag) { return BerReader(contents(tag)); }
  /// A whole number of at most 32 bits.
  std::int32_t integer();
  std::string octets();
  /// A name of at most 128 numbers of 32 bits.
  Oid oid();
  /// The next element as it stands, tag and length included.
  Bytes element();
  /// Throws when anything is left.
  void expectEnd() const;

 private:
  std::span<const std::uint8_t> contents(std::uint8_t tag);
  std::size_t takeLength();
  std::uint8_t takeByte();

  std::span<const std::uint8_t> rest_;
};

Bytes berElement(std::uint8_t tag, const Bytes& contents);
Bytes berInteger(std::int64_t value, std::uint8_t tag = BER_INTEGER);
Bytes berOctets(std::string_view text);
Bytes berOid(const Oid& oid);

}  // namespace kesto::printer
