// Alerts item by item, and their texts in the log. What becomes of any other response is pinned by the replayed fuzz
// inputs.
#include <array>
#include <string>

#include <gtest/gtest.h>

#include "npa/NPAValidator.h"
#include "npa/NpaParser.h"
#include "npa/alerttext.h"
#include "support/hex.h"

namespace kesto {
namespace {

using test::Bytes;
using test::unhex;

/// The alerts of a response, which lies in the storage that is promised to the parser and no more.
class Alerts {
 public:
  explicit Alerts(Bytes response) {
    response.resize(VALID_BUFFER_SIZE);
    result = GetExtAlertInformation(response.data(), 0, records_, count);
  }
  Alerts(const Alerts&) = delete;
  Alerts& operator=(const Alerts&) = delete;
  ~Alerts() { releaseAlerts(records_, count); }

  const PSSDALERTINFO& operator[](int index) const { return records_[index]; }
  [[nodiscard]] std::string entry(int alert, int index) const {
    const auto& entry = records_[alert].entries[index];
    return std::to_string(entry.value) + " " + entry.text.data();
  }

  std::int32_t result;
  std::int32_t count = -7;

 private:
  PSSDALERTINFO* records_ = nullptr;
};

/// A response with one alert of all items, and others. Identifiers take two bytes, types one, element counts three,
/// content lengths two, value lengths one.
constexpr std::string_view EVERY_ITEM =
    "A5 00 D3 50 E0 73 03 08 00 00 01 00 00 00 00 00 00 00 00 00 00 00 00 00 00 "
    "00 BB 00 00 50 7B 49 44 3A 32 20 44 54 3A 31 7D "  // P{ID:2 DT:1}
    "43 7B 4E 45 3A 33 20 4C 44 3A 32 7D "              // C{NE:3 LD:2}
    "56 7B 4C 44 3A 31 7D 00 00 00 "                    // V{LD:1}
    "00 01 00 00 00 02 00 8F "                          // 1
    "  00 07 05 03 01 02 03 "                           // 1.7
    "  00 02 00 00 00 01 00 80 "                        // 1.2
    "    00 01 00 00 00 03 00 78 "                      // 1.2.1
    "      00 01 00 00 00 04 00 43 "                    // 1.2.1.1
    "        00 01 01 01 0B "                           // 1.2.1.1.1
    "        00 02 00 00 00 02 00 0B "                  // 1.2.1.1.2
    "          00 01 01 02 01 16 "                      // 1.2.1.1.2.1
    "          00 02 01 01 21 "                         // 1.2.1.1.2.2
    "        00 03 01 09 FF 00 00 00 00 00 00 00 2C "   // 1.2.1.1.3
    "        00 04 00 00 00 04 00 16 "                  // 1.2.1.1.4
    "          00 02 01 00 "                            // 1.2.1.1.4.2
    "          00 03 01 01 42 "                         // 1.2.1.1.4.3
    "          00 09 02 02 4E 39 "                      // 1.2.1.1.4.9
    "          00 0A 02 03 54 31 30 "                   // 1.2.1.1.4.10
    "      00 02 00 00 00 02 00 20 "                    // 1.2.1.2
    "        00 01 00 00 00 02 00 0B "                  // 1.2.1.2.1
    "          00 03 02 02 4F 6E "                      // 1.2.1.2.1.3
    "          00 01 01 01 07 "                         // 1.2.1.2.1.1
    "        00 02 00 00 00 01 00 05 "                  // 1.2.1.2.2
    "          00 01 01 01 05 "                         // 1.2.1.2.2.1
    "      00 04 01 01 4D ";                            // 1.2.1.4

TEST(ExtendedAlerts, AreReadItemByItem) {
  const Alerts alerts(unhex(EVERY_ITEM));
  ASSERT_EQ(alerts.result, 0);
  ASSERT_EQ(alerts.count, 1);
  EXPECT_EQ(alerts[0].item_1_1, 0x0BU);
  EXPECT_EQ(alerts[0].item_1_2_1, 0x116U);
  EXPECT_EQ(alerts[0].item_1_2_2, 0x21U);
  EXPECT_EQ(alerts[0].item_1_3, 0x2CU) << "the low 64 bits of nine bytes";
  EXPECT_EQ(alerts[0].item_1_4_2, 0U) << "a value of no bytes";
  EXPECT_EQ(alerts[0].item_1_4_3, 0x42U);
  EXPECT_EQ(alerts[0].item_4, 0x4DU);
  EXPECT_STREQ(alerts[0].text_1_4_9.data(), "N9");
  EXPECT_STREQ(alerts[0].text_1_4_10.data(), "T10");
  EXPECT_EQ(alerts[0].alertType, ALERT_ERROR);
  ASSERT_EQ(alerts[0].entryCount, 2);
  EXPECT_EQ(alerts.entry(0, 0), "7 On");
  EXPECT_EQ(alerts.entry(0, 1), "5 ") << "an entry without a text starts cleared";

  // Content lengths only say where the next item is, so that lies about them lose no alert.
  for (const auto& [offset, byte] : {std::pair(70, 0), {70, 8}, {85, 0}, {92, 0xFF}, {93, 0}, {101, 0}}) {
    Bytes lying = unhex(EVERY_ITEM);
    lying[static_cast<std::size_t>(offset)] = static_cast<std::uint8_t>(byte);
    EXPECT_EQ(Alerts(lying)[0].item_1_1, 0x0BU) << offset;
  }
}

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

TEST(AlertText, IsTheFirstThatSaysSomething) {
  std::array<AlertEntry, 2> entries{};
  PSSDALERTINFO alert;
  EXPECT_EQ(alertText(alert), "Printer reports an error");
  decodeString("ten", alert.text_1_4_10);
  EXPECT_EQ(alertText(alert), "ten");
  decodeString("nine", alert.text_1_4_9);
  EXPECT_EQ(alertText(alert), "nine");
  alert.entries = entries.data();
  alert.entryCount = 2;
  decodeString("second", entries[1].text);
  EXPECT_EQ(alertText(alert), "nine") << "the second entry is not asked";
  decodeString(" \r\n", entries[0].text);
  EXPECT_EQ(alertText(alert), "nine");
  decodeString("first\nERROR: forged", entries[0].text);
  EXPECT_EQ(alertText(alert), "first ERROR: forged");
}

}  // namespace
}  // namespace kesto
