#include "kestoprinter/alertpanel.h"

#include <array>
#include <cstdio>

#include <unistd.h>

namespace kesto::printer {
namespace {

/// A longer line is no command.
constexpr std::size_t LONGEST_LINE = 4096;

constexpr std::string_view BLANKS = " \t\r\n";

std::string_view trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(BLANKS);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(BLANKS) - first + 1);
}

/// Takes the first word off `text`.
std::string_view takeWord(std::string_view& text) {
  text = trimmed(text);
  const std::string_view word = text.substr(0, text.find_first_of(BLANKS));
  text = trimmed(text.substr(word.size()));
  return word;
}

std::string_view unquoted(std::string_view text) {
  const bool quoted = text.size() >= 2 && text.front() == '"' && text.back() == '"';
  return quoted ? text.substr(1, text.size() - 2) : text;
}

}  // namespace

std::string AlertPanel::obey(std::string_view line) {
  const std::string_view verb = takeWord(line);
  if (verb.empty()) return {};
  if (verb == "clear" && line.empty()) {
    alerts_.clear();
    return {};
  }
  if (verb == "level") return supplies_.set(line);
  if (verb != "alert") return "unknown command '" + std::string(verb) + "'";
  const std::string_view kind = takeWord(line);
  if (kind != "error" && kind != "warning") return "an alert is an error or a warning";
  if (unquoted(line).empty()) return "an alert needs a text";
  alerts_.push_back({kind == "error", std::string(unquoted(line))});
  return {};
}

unsigned char AlertPanel::mask() const {
  unsigned char mask = 0;
  for (const PanelAlert& alert : alerts_) mask |= alert.isError ? 0x01 : 0x02;
  return mask;
}

void PanelInput::read(AlertPanel& panel) {
  std::array<char, LONGEST_LINE> text;
  const ssize_t got = ::read(descriptor_, text.data(), text.size());
  if (got <= 0) {
    descriptor_ = -1;
    return;
  }
  text_.append(text.data(), static_cast<std::size_t>(got));
  for (std::size_t end = 0; (end = text_.find('\n')) != std::string::npos; text_.erase(0, end + 1)) {
    obeyOrComplain(panel, std::string_view(text_).substr(0, end));
  }
  if (text_.size() <= LONGEST_LINE) return;
  std::fprintf(stderr, "kestoprinter: a line has more than %zu bytes; no more lines are read\n", LONGEST_LINE);
  descriptor_ = -1;
}

void obeyOrComplain(AlertPanel& panel, std::string_view line) {
  const std::string complaint = panel.obey(line);
  if (!complaint.empty()) std::fprintf(stderr, "kestoprinter: %s\n", complaint.c_str());
}

}  // namespace kesto::printer
