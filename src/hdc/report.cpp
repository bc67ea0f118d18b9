#include "hdc/report.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <span>

#include <unistd.h>

#include "hdc/poll.h"

namespace kesto {

namespace {

/// How long a log that takes nothing at the moment is waited for.
constexpr std::chrono::milliseconds PATIENCE{1000};

/// Writes some of `rest`. False when the log takes nothing at the moment; what nobody is left to be told is dropped.
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
  std::array<char, MAX_REPORT_LENGTH + 1> text;
  va_list arguments;
  va_start(arguments, format);
  // The analyzer overlooks va_start in every file of a run but the first.
  // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized)
  const int wanted = std::vsnprintf(text.data(), text.size(), format, arguments);
  va_end(arguments);

  if (wanted > 0) {
    const auto message = std::span(text).first(static_cast<std::size_t>(std::min(wanted, MAX_REPORT_LENGTH)));
    const bool endsLine = wanted > MAX_REPORT_LENGTH || message.back() == '\n';
    std::replace_if(message.begin(), message.end(), isControl, ' ');
    if (endsLine) message.back() = '\n';
    writeAll(message);
  }
  errno = savedErrno;
}

void reportErrno(const char* text, int error) {
  std::array<char, 256> reason;
  report("%s: %s\n", text, strerror_r(error, reason.data(), reason.size()));
}

}  // namespace kesto
