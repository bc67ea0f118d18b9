// What the printer says of itself by SNMP: objects of the System group (RFC 3418), the Host Resources MIB (RFC 2790),
// the Printer MIB (RFC 3805) and the PWG's Port Monitor MIB (5107.1).
#pragma once

#include <cstdint>

#include "kestoprinter/alertpanel.h"
#include "kestoprinter/snmp.h"

namespace kesto::printer {

inline constexpr char MAKE_AND_MODEL[] = "Kesto Page";
inline constexpr char DEVICE_ID[] = "MFG:Kesto;MDL:Contone Color Page Printer;CMD:PJL,PCLXL;";

/// What of the printer's state changes.
struct PrinterState {
  const AlertPanel& panel;
  bool printing = false;
  std::uint32_t pages = 0;   ///< printed so far
  std::uint32_t upTime = 0;  ///< hundredths of a second
};

[[nodiscard]] ObjectTable objectsOf(const PrinterState& state);

}  // namespace kesto::printer
