// Names of PCL XL codes for messages and lists.
#pragma once

#include <cstdint>
#include <string>

#include "kestojob/reader/text.h"
#include "pclxl/xlnames.h"

namespace kesto::job {

/// The operator's name, or "operator 0x41" for one that has none here.
[[nodiscard]] inline std::string operatorText(std::uint8_t code) {
  const std::string_view name = xl::operatorName(code);
  return name.empty() ? "operator " + hexByte(code) : std::string(name);
}

/// The attribute's name, or "attribute 0x41" for one that has none here.
[[nodiscard]] inline std::string attributeText(std::uint8_t id) {
  const std::string_view name = xl::attributeName(id);
  return name.empty() ? "attribute " + hexByte(id) : std::string(name);
}

}  // namespace kesto::job
