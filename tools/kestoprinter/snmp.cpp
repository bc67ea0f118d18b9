#include "kestoprinter/snmp.h"

namespace kesto::printer {
namespace {

constexpr char COMMUNITY[] = "public";

// Values of SNMPv2 that stand for no value (RFC 3416, section 3).
constexpr std::uint8_t NO_SUCH_OBJECT = 0x80;
constexpr std::uint8_t END_OF_MIB_VIEW = 0x82;

SnmpMessage readMessage(BerReader datagram) {
  SnmpMessage message;
  BerReader whole = datagram.enter(BER_SEQUENCE);
  datagram.expectEnd();
  message.version = whole.integer();
  message.community = whole.octets();
  message.pdu = whole.tag();
  BerReader pdu = whole.enter(message.pdu);
  whole.expectEnd();
  message.requestId = pdu.integer();
  message.error = pdu.integer();
  message.errorIndex = pdu.integer();
  BerReader bindings = pdu.enter(BER_SEQUENCE);
  pdu.expectEnd();
  while (!bindings.atEnd()) {
    BerReader binding = bindings.enter(BER_SEQUENCE);
    Oid name = binding.oid();
    message.bindings.push_back({std::move(name), binding.element()});
    binding.expectEnd();
  }
  return message;
}

bool isServed(const SnmpMessage& message) {
  return (message.version == SNMP_V1 || message.version == SNMP_V2C) && message.community == COMMUNITY &&
         (message.pdu == SNMP_GET || message.pdu == SNMP_GET_NEXT);
}

/// The response that has nothing but an error; in SNMPv1 it repeats the request's bindings (RFC 1157, section 4.1).
Bytes errorResponse(SnmpMessage request, SnmpError error, std::size_t index) {
  request.pdu = SNMP_RESPONSE;
  request.error = error;
  request.errorIndex = static_cast<std::int32_t>(index);
  if (request.version != SNMP_V1) request.bindings.clear();
  return writeSnmpMessage(request);
}

}  // namespace

std::optional<SnmpMessage> readSnmpMessage(std::span<const std::uint8_t> datagram) {
  try {
    return readMessage(BerReader(datagram));
  } catch (const BerError&) {
    return std::nullopt;
  }
}

Bytes writeSnmpMessage(const SnmpMessage& message) {
  Bytes bindings;
  for (const auto& [name, value] : message.bindings) {
    bindings = std::move(bindings) + berElement(BER_SEQUENCE, berOid(name) + value);
  }
  const Bytes pdu = berInteger(message.requestId) + berInteger(message.error) + berInteger(message.errorIndex) +
                    berElement(BER_SEQUENCE, bindings);
  return berElement(BER_SEQUENCE,
                    berInteger(message.version) + berOctets(message.community) + berElement(message.pdu, pdu));
}

Bytes answerSnmp(std::span<const std::uint8_t> datagram, const ObjectTable& objects) {
  const std::optional<SnmpMessage> request = readSnmpMessage(datagram);
  if (!request || !isServed(*request)) return {};
  const bool next = request->pdu == SNMP_GET_NEXT;
  SnmpMessage response = *request;
  response.pdu = SNMP_RESPONSE;
  response.error = response.errorIndex = SNMP_NO_ERROR;
  for (std::size_t i = 0; i < response.bindings.size(); ++i) {
    SnmpBinding& binding = response.bindings[i];
    const auto object = next ? objects.upper_bound(binding.name) : objects.find(binding.name);
    if (object != objects.end()) {
      binding = {object->first, object->second};
    } else if (request->version == SNMP_V1) {
      return errorResponse(*request, SNMP_NO_SUCH_NAME, i + 1);
    } else {
      binding.value = berElement(next ? END_OF_MIB_VIEW : NO_SUCH_OBJECT, {});
    }
  }
  Bytes bytes = writeSnmpMessage(response);
  return bytes.size() <= SNMP_MAX_SIZE ? bytes : errorResponse(*request, SNMP_TOO_BIG, 0);
}

}  // namespace kesto::printer
