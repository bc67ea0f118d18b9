// Datagrams to and from a network printer, over a connected socket. Each socket belongs to one thread.
#pragma once

#include <chrono>
#include <cstdint>

#include <sys/types.h>

namespace kesto {

/// A new IPv4 datagram socket that is closed on exec; -1 with errno set when it cannot be made.
[[nodiscard]] int openDatagramSocket();

/// Connects the socket to a dotted address, so that only that printer's datagrams arrive, and limits each receive to
/// `timeout`. False when the text is not such an address or the connection is refused.
[[nodiscard]] bool connectDatagramSocket(int descriptor, const char* address, std::uint16_t port,
                                         std::chrono::seconds timeout);

/// Sends one datagram: the result of send(2), or -1 when there are no bytes.
ssize_t sendDatagram(int descriptor, const std::uint8_t* bytes, std::size_t length);

/// Receives one datagram into `buffer`, which is cleared first: the result of recv(2), or -1 for a missing buffer or
/// one of less than 540 bytes, which might cut an answer.
[[nodiscard]] ssize_t receiveDatagram(int descriptor, std::uint8_t* buffer, std::size_t length);

}  // namespace kesto
