// The names that are shared by the whole process: flags between the job thread, the image thread and the SIGTERM
// handler, and what the job's arguments and environment fix at its start.
//
// Everything here belongs to the job thread, except where a declaration says who writes and who reads. Flags that cross
// threads are published with release and read with acquire.
#pragma once

#include <atomic>
#include <cstdint>

#include <signal.h>

#include "hdc/cbuffer.h"

namespace kesto {

/// "USB", "NETWORK" or "BONJOUR", from DEVICE_URI.
extern const char* connectivityType;

/// 1 after SIGTERM. Written by the signal handler, read by the job thread.
extern std::atomic<std::uint8_t> isTerminated;

/// How often each page is to be printed: the decimal value of the copies argument.
extern std::int32_t uncollatedCopies_Prototype;

/// Line blocks on their way from the job thread (producer) to the image thread (consumer).
extern cbuffer imageLineBlockBuffer;

/// Run flag of the image thread: set by the image thread when it starts, cleared by the job thread to stop it.
extern std::atomic<std::uint8_t> imageProcessorContext;

/// 0 while the image thread holds a line block. Written by the image thread, read by the job thread.
extern std::atomic<std::uint8_t> gBlockProcessingCompleted;

/// The error number that ended the image thread early, or 0. Written by the image thread, read by the job thread.
extern std::atomic<int> imageThreadFailure;

/// The SIGTERM action that was in force before the job installed its own.
extern struct sigaction oldaction;

}  // namespace kesto
