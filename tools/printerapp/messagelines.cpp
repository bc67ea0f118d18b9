#include "printerapp/messagelines.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>

#include <unistd.h>

namespace kesto::app {
namespace {

constexpr std::string_view PAGE = "PAGE: ", ERROR = "ERROR: ";

/// The longest line that is kept; the spooler cuts longer ones as well.
constexpr std::size_t LINE_LIMIT = 2047;

constexpr std::size_t PIPE_BYTES = std::size_t{64} * 1024, READ_BYTES = 4096;

}  // namespace

void MessageLines::read(int descriptor, const std::function<void(const std::string&)>& line) {
  std::array<char, READ_BYTES> bytes;
  for (std::size_t left = PIPE_BYTES; left > 0; left -= READ_BYTES) {
    const ssize_t got = ::read(descriptor, bytes.data(), bytes.size());
    if (got < 0 && (errno == EAGAIN || errno == EINTR)) return;
    if (got <= 0) {
      ended_ = true;
      return take(line);
    }
    for (const char c : std::string_view(bytes.data(), static_cast<std::size_t>(got))) {
      if (c == '\n') {
        take(line);
      } else if (text_.size() < LINE_LIMIT) {
        text_ += std::iscntrl(static_cast<unsigned char>(c)) != 0 ? ' ' : c;
      }
    }
  }
}

void MessageLines::take(const std::function<void(const std::string&)>& line) {
  if (text_.empty()) return;
  if (text_.starts_with(PAGE)) ++pages_;
  if (text_.starts_with(ERROR)) error_ = text_.substr(ERROR.size());
  line(text_);
  text_.clear();
}

}  // namespace kesto::app
