// The texts of alerts in the log. What becomes of a response, item by item, is pinned by the replayed fuzz inputs.
#include <string>

#include <gtest/gtest.h>

#include "npa/alerttext.h"

namespace kesto {
namespace {

TEST(PrintableText, LetsOnlyTextThrough) {
  using namespace std::string_literals;
  const std::pair<std::string, std::string> texts[] = {
      {"Load A4 in tray 2", "Load A4 in tray 2"},
      {"jam\nERROR: forged\r\x1B[2J\x7F\0."s, "jam ERROR: forged  [2J  ."},
      {"Gerät öffnen, 紙づまり 🖨", "Gerät öffnen, 紙づまり 🖨"},
      {"\xC2\x9B"s + "2J\xC2\x85.\xC2\xA0", " 2J .\xC2\xA0"},  // C1 controls, and the first that is none
      {"a\xE4z\xFF\x80", "a?z??"},                             // Latin-1, bytes that begin nothing
      {"\xC0\x8A\xE0\x82\x8A\xF0\x80\x80\x8A", "?????????"},   // a line feed in too many bytes
      {"\xED\xA0\x80\xF4\x90\x80\x80\xF5", "????????"},        // surrogates, beyond the last character
      {"\xF4\x8F\xBF\xBF\xED\x9F\xBF\xEE\x80\x80", "\xF4\x8F\xBF\xBF\xED\x9F\xBF\xEE\x80\x80"},
      {"cut \xE7\xB4", "cut ??"},
      {"\xE7\n\xB4", "? ?"},
      {"", ""},
  };
  for (const auto& [sent, printed] : texts) EXPECT_EQ(printableText(sent), printed);
}

}  // namespace
}  // namespace kesto
