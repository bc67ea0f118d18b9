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

/// Whether the last message has left its line open. Any thread.
constinit std::atomic<bool> lineIsOpen{false};

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

bool isControl(char c) {
  const auto byte = static_cast<std::uint8_t>(c);
  return byte < 0x20 || byte == 0x7F;
}

}  // namespace

void report(const char* format, ...) {
  const int savedErrno = errno;
  std::array<char, MAX_REPORT_LENGTH + 1> text = {'\n'};
  const bool endsOpenLine = lineIsOpen.exchange(false, std::memory_order_acq_rel) && format[0] != '\n';
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
    if (endsLine) message.back() = '\n';
    writeAll(message);
    if (!endsLine) lineIsOpen.store(true, std::memory_order_release);
  }
  errno = savedErrno;
}

void reportErrno(const char* text, int error) {
  std::array<char, 256> reason;
  report("%s: %s\n", text, strerror_r(error, reason.data(), reason.size()));
}

}  // namespace kesto
