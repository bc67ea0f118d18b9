// The status requests at the start of a USB job.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string_view>

namespace kesto::job {

struct NpaRequest {
  std::string_view name;
  std::span<const std::uint8_t> bytes;
};

namespace npa {

inline constexpr auto SNIFF = std::to_array<std::uint8_t>(
    {0xA5, 0x00, 0x10, 0x80, 0xA4, 0x5B, 0xA4, 0x5B, 0x10, 0xEF, 0xA4, 0x5B, 0x11, 0xEE, 0x00, 0xFF, 0x13, 0xEC, 0x2E});
inline constexpr auto REGISTER_ALERTS = std::to_array<std::uint8_t>(
    {0xA5, 0x00, 0x0F, 0x50, 0xE0, 0x73, 0x07, 0x08, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01, 0x00});
inline constexpr auto EXTENDED_ERRORS = std::to_array<std::uint8_t>(
    {0xA5, 0x00, 0x0D, 0x50, 0xE0, 0x73, 0x03, 0x08, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00});

}  // namespace npa

/// What a USB job begins with, in this order; other jobs begin with none of it.
inline constexpr auto START_REQUESTS = std::to_array<NpaRequest>({
    {"sniff", npa::SNIFF},
    {"register alerts", npa::REGISTER_ALERTS},
    {"sniff", npa::SNIFF},
    {"extended errors", npa::EXTENDED_ERRORS},
});

}  // namespace kesto::job
