#include "kestodoctor/words.h"

#include <algorithm>

#include "npa/alerttext.h"

namespace kesto::doctor {
namespace {

/// Longer than any message of the spooler's own.
constexpr std::size_t LONGEST_TEXT = 300;

bool isPlainInShell(char c) {
  constexpr std::string_view OTHERS = "_-./:,=@%+";
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
         OTHERS.find(c) != std::string_view::npos;
}

}  // namespace

std::string plain(std::string_view text) {
  if (text.size() <= LONGEST_TEXT) return printableText(text);
  std::size_t end = LONGEST_TEXT;
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;  // not within a character
  return printableText(text.substr(0, end)) + "...";
}

std::string inQuotes(std::string_view text) {
  return '"' + plain(text) + '"';
}

std::string shellWord(std::string_view text) {
  std::string word = printableText(text);
  if (!word.empty() && std::ranges::all_of(word, isPlainInShell)) return word;
  std::string result = "'";
  for (const char c : word) result += c == '\'' ? R"('\'')" : std::string(1, c);
  return result + '\'';
}

std::string listed(const std::vector<std::string>& words) {
  std::string list;
  for (const std::string& word : words) list += (list.empty() ? "" : ", ") + plain(word);
  return list;
}

}  // namespace kesto::doctor
