// How the code under test is run where threads and memory come into it.
#include <ctime>

#include <sys/resource.h>

/// Waits with a short sleep: a target that hands bytes from thread to thread a hundred times in an execution would
/// spend its time asleep. (No sleep at all is slower on a busy machine.) The linker takes this definition before the C
/// library's.
extern "C" int nanosleep(const timespec* /*duration*/, timespec* /*rest*/) {
  const timespec moment = {.tv_sec = 0, .tv_nsec = 20'000};
  return clock_nanosleep(CLOCK_MONOTONIC, 0, &moment, nullptr);
}

// No memory for what is absurd, such as the 4 GiB that the raster library reserves for a line of a claimed length
// before anybody can look at it.
#if __has_feature(address_sanitizer)
// NOLINTNEXTLINE(bugprone-reserved-identifier)
extern "C" const char* __asan_default_options() {
  return "allocator_may_return_null=1:max_allocation_size_mb=64:quarantine_size_mb=32";
}
#else
extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  constexpr rlim_t MOST = rlim_t{2} << 30;
  const rlimit addresses = {.rlim_cur = MOST, .rlim_max = MOST};
  return setrlimit(RLIMIT_AS, &addresses);
}
#endif
