// The printer as an SNMP agent: requests for the values of objects and their answers, SNMP versions 1 (RFC 1157) and
// 2c (RFC 1901, RFC 3416).
//
// What the spooler's network backends send is served: GetRequest and GetNextRequest of the community "public". Nothing
// can be set, and GetBulkRequest is not answered.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "kestoprinter/ber.h"

namespace kesto::printer {

/// Objects by name, each with its value as a BER element. In this order they are walked through.
using ObjectTable = std::map<Oid, Bytes, OidOrder>;

enum SnmpPdu : std::uint8_t { SNMP_GET = 0xA0, SNMP_GET_NEXT = 0xA1, SNMP_RESPONSE = 0xA2 };
enum SnmpError : std::int32_t { SNMP_NO_ERROR = 0, SNMP_TOO_BIG = 1, SNMP_NO_SUCH_NAME = 2 };
enum SnmpVersion : std::int32_t { SNMP_V1 = 0, SNMP_V2C = 1 };

struct SnmpBinding {
  Oid name;
  Bytes value;  ///< a BER element
  bool operator==(const SnmpBinding&) const = default;
};

/// A request or a response.
struct SnmpMessage {
  std::int32_t version = SNMP_V1;
  std::string community;
  std::uint8_t pdu = SNMP_GET;
  std::int32_t requestId = 0;
  std::int32_t error = SNMP_NO_ERROR;
  std::int32_t errorIndex = 0;  ///< which binding the error is about, from 1
  std::vector<SnmpBinding> bindings;
  bool operator==(const SnmpMessage&) const = default;
};

/// The largest datagram that is sent: what an Ethernet packet carries.
inline constexpr std::size_t SNMP_MAX_SIZE = 1472;

/// The message in a datagram; nothing when it is none, or has bytes left over.
[[nodiscard]] std::optional<SnmpMessage> readSnmpMessage(std::span<const std::uint8_t> datagram);

[[nodiscard]] Bytes writeSnmpMessage(const SnmpMessage& message);

/// The datagram that answers `datagram`, of at most SNMP_MAX_SIZE bytes unless an SNMPv1 request is as long itself;
/// empty for what is not to be answered.
[[nodiscard]] Bytes answerSnmp(std::span<const std::uint8_t> datagram, const ObjectTable& objects);

}  // namespace kesto::printer
