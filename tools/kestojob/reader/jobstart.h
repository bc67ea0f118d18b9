// Where in a stream of several jobs one of them begins.
//
// A queue that writes to a file puts one job behind the other, and a job may break off anywhere. What every job has is
// its first line, "@PJL JOB" behind the universal exit; a USB job has its status requests before that.
//
// Stateless; any thread may use it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace kesto::job {

/// The first byte of a job's status requests.
inline constexpr std::uint8_t NPA_START = 0xA5;

/// So many bytes, from a job's first one on, are enough to recognise it.
inline constexpr std::size_t JOB_START_LENGTH = 48;

/// Returns the first place from `from` on and before `limit` where a job begins, or `limit` when there is none. The
/// bytes behind `limit` are looked at for the rest of what begins before it; JOB_START_LENGTH of them have to be there,
/// unless the stream ends.
[[nodiscard]] std::size_t findJobStart(std::span<const std::uint8_t> bytes, std::size_t from, std::size_t limit);

}  // namespace kesto::job
