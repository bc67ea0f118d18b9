// What the OIR thread is given.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>

namespace kesto {

/// Lives as long as the process once a thread has been started with it.
struct oirThreadParam {
  std::array<char, 201> address{};  ///< the printer's, dotted, at most 200 characters and a NUL; fixed before start
  std::atomic<std::uint8_t> running{0};  ///< written by the starter and by the thread, always 1
};

}  // namespace kesto
