// A printer's IPv4 address, where its device URI gives one.
#pragma once

#include <string>

namespace kesto::app {

/// The address of "socket://192.0.2.7:9100"; empty for a host's name and for other devices, which are not asked.
[[nodiscard]] std::string numericAddress(const std::string& uri);

}  // namespace kesto::app
