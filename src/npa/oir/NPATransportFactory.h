// Chooses a transport by its number.
#pragma once

#include <cstdint>
#include <memory>

#include "npa/oir/NPATransport.h"

namespace kesto {

/// Transport numbers; any other number stands for none.
enum NPATransportTypes : std::uint16_t {
  NPA_TRANSPORT_9300 = 1,
  NPA_TRANSPORT_USB = 2,
};

class NPATransportFactory {
 public:
  /// A new transport; null for a number that is none of NPATransportTypes.
  [[nodiscard]] static std::unique_ptr<NPATransport> CreateTransportObj(unsigned short type);
};

}  // namespace kesto
