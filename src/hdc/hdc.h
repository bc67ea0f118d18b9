// The host data channel: the only way for job bytes to reach the printer.
//
// Writers append to a large ring. As soon as it holds more than the flush threshold, the print thread takes everything
// out and writes it to the spooler's backend in one block, which spares the device the many small pieces that a page is
// made of. At the end of the job the threshold falls to 0 and the rest follows.
//
// Writers take turns: one thread at a time may call hdcWrite, and whoever passes the turn does so through an atomic.
// Start, stop, initialise and destroy belong to the job thread. The print thread alone takes out and writes.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>

#include <unistd.h>

#include "base/thread.h"
#include "hdc/cbuffer.h"

namespace kesto {

struct HdcContext {
  std::atomic<std::uint8_t> running{0};          ///< 1 while the print thread is to run; written by the job thread
  Thread printThread;                            ///< started and joined by the job thread
  cbuffer buffer;                                ///< writers produce, the print thread consumes
  std::atomic<std::uint32_t> flushThreshold{0};  ///< written by the job thread, read by writers and the print thread
  std::atomic<std::uint8_t> stopping{0};         ///< 1 while hdcStopPrintThread waits: no further block is taken
  std::atomic<int> failure{0};  ///< first final error as an errno, 0 for none; written by whoever meets it, read by all
  int outputDescriptor{STDOUT_FILENO};  ///< where the bytes go; fixed before the print thread starts
  const std::atomic<std::uint8_t>* cancelFlag{
      nullptr};  ///< not 0 once the job is cancelled; fixed as well; null: never
};

extern HdcContext hdcContext;

/// Prepares the channel: an empty ring of `capacity` bytes that is drained when it holds more than `flushThreshold`.
///
/// Without memory the ring's own message goes to standard error, and hdcFailure() gives ENOMEM from then on. May be
/// called again after hdcDestroy; a failure of the channel's earlier life is forgotten.
void hdcInitialize(std::uint32_t capacity, std::uint32_t flushThreshold);

/// Starts the print thread, which is handed `argument` and ignores it. A thread that cannot be created is a failure of
/// the channel. Does nothing when the thread is already running.
void hdcStartPrintThread(void* argument);

/// Appends `count` bytes to the job and returns `count`; waits for the print thread while the ring lacks room.
///
/// Bytes that do not fit between the threshold and the ring's capacity go in pieces, so no count waits for ever while
/// the print thread works. Returns -1, with some or all of the bytes lost, when the ring has no storage or the channel
/// has failed before or during the call. 0 bytes are always accepted.
std::int64_t hdcWrite(const std::uint8_t* bytes, std::uint32_t count);

/// Drops the threshold to 0 and waits until the print thread has taken the last byte out of the ring, or has failed.
///
/// The last block may still be on its way to the descriptor; hdcStopPrintThread waits for it.
void hdcWaitUntilEmpty();

/// Ends the print thread, waits for it, and clears `running`. The block in its hands is written in full, bytes in the
/// ring are not. In a cancelled job a reader that takes nothing for CANCEL_STALL_TIME is given up: the channel fails
/// with ECANCELED. Does nothing when no print thread is running.
void hdcStopPrintThread();

/// Makes the channel fail, unless it has failed already: waiting writers return, the block that is being written is
/// cut, and stopping the print thread no longer waits for the reader. For a job that cannot continue.

void hdcAbandon();

/// True when nobody is waiting for the job to end any more: it is cancelled, or the channel has failed. Any thread.
[[nodiscard]] bool hdcIsGivenUp();

/// Frees the ring. The print thread must have been stopped and no writer may be left.
void hdcDestroy();

/// Why the channel failed, as an errno value (EPIPE when nobody reads any more); 0 when it has not.
///
/// A failure is final: the print thread writes nothing more, writers and waiters return at once. The channel prints no
/// message for it, so that the job can report it once.
[[nodiscard]] int hdcFailure();

/// The print thread's body: drains the ring whenever it holds more than the threshold, until it is stopped or fails.
void* print_thread(void* argument);

/// Writes `count` bytes to the output descriptor while `running` is 1; the rest is given up when it is 0 or the channel
/// has failed.
///
/// A short write goes on with the next byte; an interrupted one is repeated at once; a descriptor that accepts nothing
/// at the moment is tried again at polling pace. In a cancelled job a descriptor that takes nothing for
/// CANCEL_STALL_TIME makes the channel fail.
void write_bytes(const std::uint8_t* bytes, std::int32_t count);

}  // namespace kesto
