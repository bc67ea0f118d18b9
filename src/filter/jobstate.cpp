#include "filter/jobstate.h"

namespace kesto {

constinit const char* connectivityType = nullptr;
constinit std::atomic<std::uint8_t> isTerminated{0};
constinit std::int32_t uncollatedCopies_Prototype = 1;
constinit cbuffer imageLineBlockBuffer;
constinit std::atomic<std::uint8_t> imageProcessorContext{0};
constinit std::atomic<std::uint8_t> gBlockProcessingCompleted{1};
constinit std::atomic<int> imageThreadFailure{0};
struct sigaction oldaction = {};

static_assert(std::atomic<std::uint8_t>::is_always_lock_free, "the signal handler stores to isTerminated");

}  // namespace kesto
