// The network status monitor: asks the printer for its alerts over UDP port 9300 while the job runs, and reports them.
//
// The thread registers with the printer, asks every few seconds, and unregisters when it is stopped. It alone uses
// validBuffer and the reassembly state. Whatever the network does, the print data and the exit status stay as they are.
#pragma once

#include <cstdint>

#include <sys/types.h>

#include "hdc/monitor/statusthread.h"

namespace kesto {

extern StatusThread npaNetworkThreadParams;

/// 1 for an address without a letter and with exactly three points, else -1; a wrong number of points leaves a line in
/// the log.
[[nodiscard]] std::int32_t ValidateChannel(const char* address);

/// Starts npa_network_thread with `address`, a dotted IPv4 address that outlives the thread. Job thread.
void StartNpaNetworkThread(const char* address);

/// Ends the thread and waits for it: for the cycle that it is in, so that an answer on its way is reported, 4 seconds
/// at most; not for the pause between two cycles, and for nothing when the job is cancelled or has failed. Nothing
/// happens when no thread was started. Job thread.
void StopNpaNetworkThread();

/// Thread body; `address` is a text. One that is missing or shorter than 8 characters ends it at once.
void* npa_network_thread(void* address);

/// Makes a datagram socket connected to `address`, port 9300, with a receive time-out of 2 seconds. Returns 0, or -1
/// when there is no socket or no connection. `descriptor` is the socket in any case, -1 for none; the caller closes it.
[[nodiscard]] std::int32_t InitializeNpaNetworkConnection(const char* address, int& descriptor);

/// Sends a datagram: the result of `send`, or -1 when there are no bytes.
ssize_t SendNpaNetworkCommand(int descriptor, const std::uint8_t* bytes, std::uint32_t length);

/// Receives one datagram into `buffer`, which is cleared first: the result of `recv`, or -1 for a missing buffer or one
/// of less than 540 bytes.
[[nodiscard]] ssize_t ReadNpaNetworkResponse(int descriptor, std::uint8_t* buffer, std::uint32_t length);

/// Closes the socket if there is one, and forgets it.
void CloseNpaNetworkConnection(int& descriptor);

}  // namespace kesto
