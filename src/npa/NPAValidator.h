// NPA packets (the packet family of IEEE 1284.1): what the filter asks a printer, and how an answer is put together.
//
//   packet   = A5 length flags class command category parameters
//   length   = two bytes, big-endian: how many bytes follow these two
//   flags    = bit 5 set: more packets of the same response follow
//   response = first packet, whole; of every further packet what follows its first five bytes
//
// Packets of one response may arrive in several blocks, so the reassembly state outlives a call. It is process-wide and
// belongs to the one status thread of the job. A printer's lengths are not trusted: a packet that would reach beyond
// the received block or the response buffer is dropped, and reassembly starts afresh behind it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace kesto {

/// Switches the printer's USB port to packets and back: pairs of a byte and its complement.
inline constexpr std::array<std::uint8_t, 19> USB_SNIFF_COMMAND = {
    0xA5, 0x00, 0x10, 0x80, 0xA4, 0x5B, 0xA4, 0x5B, 0x10, 0xEF, 0xA4, 0x5B, 0x11, 0xEE, 0x00, 0xFF, 0x13, 0xEC, 0x2E};

/// Registers for alerts.
inline constexpr std::array<std::uint8_t, 18> NPA_COMMAND_REGLANGID = {
    0xA5, 0x00, 0x0F, 0x50, 0xE0, 0x73, 0x07, 0x08, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01, 0x00};

/// Asks for the present error alerts.
inline constexpr std::array<std::uint8_t, 16> NPA_DEVCOMMAND_EXT_ERRORS = {
    0xA5, 0x00, 0x0D, 0x50, 0xE0, 0x73, 0x03, 0x08, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00};

/// Asks for the present error and warning alerts.
inline constexpr std::array<std::uint8_t, 16> NPA_COMMAND_EXT_ERRORWARN = {
    0xA5, 0x00, 0x0D, 0x50, 0xE0, 0x73, 0x03, 0x08, 0x00, 0x00, 0x03, 0x00, 0x00, 0x00, 0x00, 0x00};

/// The first byte of every packet, and where its length field ends.
inline constexpr std::uint8_t PACKET_START = 0xA5;
inline constexpr std::size_t LENGTH_END = 3;

/// How much AssembleNPACommand puts before a command.
inline constexpr std::int32_t NETWORK_HEADER_SIZE = 8;

/// Where the NPA packets begin in a datagram that isAckIDValid accepts.
inline constexpr std::size_t NETWORK_ANSWER_OFFSET = 12;

/// The longest response that can be put together.
inline constexpr std::size_t VALID_BUFFER_SIZE = 1024;

// The reassembly, written and read by the running status thread alone.
extern std::array<std::uint8_t, VALID_BUFFER_SIZE> validBuffer;  ///< the response; cleared by the thread after a report
extern std::uint32_t receivedBufferSize;                         ///< length of the block being scanned
extern std::uint8_t setContinueFlag;                             ///< continuation bit of the last packet taken
extern std::uint8_t firstresponse;             ///< 1: the next packet taken starts a response; 0: it continues one
extern std::int32_t validBufferCount;          ///< bytes of the response so far
extern std::int32_t firstResponseBufferCount;  ///< total length of one-packet responses, kept across calls

/// Writes the network header (01 00 00 31, packet ID 12345678 big-endian) and the command behind it.
///
/// `output` has room for `commandLength` + 8 bytes; that sum is returned. -1, with nothing written, when output or
/// command is missing or the length is negative.
[[nodiscard]] std::int32_t AssembleNPACommand(const std::uint8_t* command, std::uint8_t* output,
                                              std::int32_t commandLength);

/// The size of the whole packet by its length field, at least 3; 0 for bytes that start no packet or end before the
/// length field does.
[[nodiscard]] std::uint32_t lengthofNPACommand(std::span<const std::uint8_t> packet);

/// 1 when more packets of the response follow; 0 otherwise, and for bytes that start no packet.
[[nodiscard]] std::uint8_t isContinueFlagset(std::span<const std::uint8_t> packet);

/// The request category: 1 (status), 3 (extended alerts), 7 (registration), and 8 for all that the filter does not use,
/// a packet without a category byte included.
[[nodiscard]] std::int32_t requestCategoryofExtendedAlerts(std::span<const std::uint8_t> packet);

/// Whether a datagram echoes our packet ID and so is an answer to us.
[[nodiscard]] bool isAckIDValid(std::span<const std::uint8_t> datagram);

/// Scans a received block for NPA packets and puts their response together in `response`.
///
/// True when a response became complete in this call; `done` is then -1 and is left alone otherwise. `assembledLength`
/// is written in any case: the length of the complete response, or how much of one there is so far. A block may hold
/// several responses; if several are complete, the last one stays in the buffer, unless an earlier call has already
/// counted as many bytes as this block holds.
[[nodiscard]] bool ValidateReceivedResponse(const std::uint8_t* received,
                                            std::span<std::uint8_t, VALID_BUFFER_SIZE> response,
                                            std::uint32_t receivedLength, std::int32_t& assembledLength,
                                            std::int32_t& done);

}  // namespace kesto
