// A datagram to the virtual printer's SNMP port: what is read can be written and read again, and an answer belongs to
// its request.
#include <cstdint>
#include <vector>

#include "kestoprinter/printermib.h"
#include "require.h"

using namespace kesto::printer;
using kesto::fuzz::note;
using kesto::fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const AlertPanel panel;
  static const ObjectTable objects = objectsOf({.panel = panel, .pages = 3000000000, .upTime = 128});
  const std::vector<std::uint8_t> datagram(data, data + size);
  const auto request = readSnmpMessage(datagram);
  const Bytes answer = answerSnmp(datagram, objects);
  if (!request) {
    require(answer.empty());
    return 0;
  }
  require(readSnmpMessage(writeSnmpMessage(*request)) == request);
  note(answer);
  if (answer.empty()) return 0;
  const auto response = readSnmpMessage(answer);
  require(response && response->pdu == SNMP_RESPONSE && response->requestId == request->requestId);
  require(answer.size() <= SNMP_MAX_SIZE || response->bindings == request->bindings);
  for (std::size_t i = 0; i < response->bindings.size(); ++i) {
    const auto& [name, value] = response->bindings[i];
    const Oid& asked = request->bindings.at(i).name;
    const auto object = objects.find(name);
    const bool valued = object != objects.end() && object->second == value;
    require(valued || name == asked);
    require(request->pdu == SNMP_GET ? name == asked : !OidOrder()(name, asked));
  }
  return 0;
}
