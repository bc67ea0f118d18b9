#include "npa/oir/NPATransportFactory.h"

#include "npa/oir/NPATransport9300.h"
#include "npa/oir/NPATransportUSB.h"

namespace kesto {

std::unique_ptr<NPATransport> NPATransportFactory::CreateTransportObj(unsigned short type) {
  switch (type) {
    case NPA_TRANSPORT_9300:
      return std::make_unique<NPATransport9300>();
    case NPA_TRANSPORT_USB:
      return std::make_unique<NPATransportUSB>();
    default:
      return nullptr;
  }
}

}  // namespace kesto
