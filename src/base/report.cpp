#include "base/report.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <span>

#include <unistd.h>

#include "base/poll.h"

namespace kesto {

namespace {

/// How long to wait for a log that accepts nothing at the moment.
constexpr std::chrono::milliseconds PATIENCE{1000};

/// How the log's last line stands and how many messages are on their way, in one word, so that whoever begins a message
/// sees both at the same moment. Any thread.
constinit std::atomic<std::uint32_t> logState{0};
constexpr std::uint32_t OPENING = 1;  // a message without a line end is about to be written,
constexpr std::uint32_t OPEN = 2;     // or was the last one
constexpr std::uint32_t MESSAGE = 4;  // for each that is on its way

/// Writes some of `rest`. False when the log accepts nothing at the moment. A message that nobody reads is dropped.
bool writeSome(std::span<const char>& rest) {
  const auto written = write(STDERR_FILENO, rest.data(), rest.size());
  if (written < 0 && errno == EINTR) return true;
  if (written < 0 && errno == EAGAIN) return false;
  rest = written > 0 ? rest.subspan(static_cast<std::size_t>(written)) : std::span<const char>{};
  return true;
}

void writeAll(std::span<const char> rest) {
  while (!rest.empty() && pollUntil([&rest] { return writeSome(rest); }, PATIENCE)) {
  }
}

/// Writes a message without a line end when those that do not know of it have been written; the others end its line.
void writeOpenLine(std::span<const char> message) {
  logState.fetch_or(OPENING, std::memory_order_acq_rel);
  // Messages on their way are short; one that hangs must not hold this one up for good.
  static_cast<void>(pollUntil([] { return logState.load(std::memory_order_acquire) / MESSAGE == 1; }, PATIENCE));
  writeAll(message);
  logState.fetch_or(OPEN, std::memory_order_acq_rel);
  logState.fetch_and(~OPENING, std::memory_order_acq_rel);
}

bool isControl(char c) {
  const auto byte = static_cast<std::uint8_t>(c);
  return byte < 0x20 || byte == 0x7F;
}

}  // namespace

void report(const char* format, ...) {
  const int savedErrno = errno;
  std::array<char, MAX_REPORT_LENGTH + 1> text = {'\n'};
  const std::uint32_t before = logState.fetch_add(MESSAGE, std::memory_order_acq_rel);
  const bool endsOpenLine = (before & (OPENING | OPEN)) != 0 && format[0] != '\n';
  const std::size_t start = endsOpenLine ? 1 : 0;
  va_list arguments;
  va_start(arguments, format);
  // The analyzer overlooks va_start in every file of a run but the first.
  // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized)
  const auto room = std::span(text).subspan(start);
  const int wanted = std::vsnprintf(room.data(), room.size(), format, arguments);
  va_end(arguments);

  if (wanted > 0) {
    const auto length = std::min(start + static_cast<std::size_t>(wanted), text.size() - 1);
    const auto message = std::span(text).first(length);
    const bool endsLine = start + static_cast<std::size_t>(wanted) > length || message.back() == '\n';
    std::replace_if(message.begin() + (message.front() == '\n' ? 1 : 0), message.end(), isControl, ' ');
    if (endsLine) {
      message.back() = '\n';
      writeAll(message);
      if ((before & OPENING) == 0) logState.fetch_and(~OPEN, std::memory_order_acq_rel);
    } else {
      writeOpenLine(message);
    }
  }
  logState.fetch_sub(MESSAGE, std::memory_order_acq_rel);
  errno = savedErrno;
}

void reportErrno(const char* text, int error) {
  std::array<char, 256> reason;
  report("%s: %s\n", text, strerror_r(error, reason.data(), reason.size()));
}

}  // namespace kesto
