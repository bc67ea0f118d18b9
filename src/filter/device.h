// What the device URI says: how the printer is connected, and its address where it has one.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kesto {

inline constexpr char USB[] = "USB";
inline constexpr char NETWORK[] = "NETWORK";
inline constexpr char BONJOUR[] = "BONJOUR";

struct Device {
  const char* connectivity = BONJOUR;  ///< USB, NETWORK or BONJOUR
  std::optional<std::string> address;  ///< the host, for "socket://", "lpd://" and "ipp://"
};

/// Reads a device URI. One that holds "usb://" anywhere is USB, whatever else it holds; "socket://" is a network
/// printer whose host ends at the next ':'; every other URI, the empty one included, is BONJOUR, with a host that ends
/// at the next '/' for "lpd://" and "ipp://" and without an address otherwise.
[[nodiscard]] Device parseDeviceUri(std::string_view uri);

}  // namespace kesto
