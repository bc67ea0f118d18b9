#include "npa/NpaParser.h"

#include <limits>
#include <string>

#include <gtest/gtest.h>

#include "kestoprinter/answers.h"
#include "npa/NPAValidator.h"
#include "support/hex.h"

namespace kesto {
namespace {

using printer::containerItem;
using printer::integerItem;
using printer::stringItem;
using test::Bytes;
using test::unhex;
using printer::operator+;

/// The alerts of a response, which lies in the storage that is promised to the parser and no more; freed with the
/// object.
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

/// The alerts of a tree: a root with these items.
Alerts alertsIn(const std::vector<Bytes>& items) {
  return Alerts(printer::alertResponse(printer::MASK_ERRORS, printer::alertBlock(containerItem(1, items))));
}

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
}

TEST(ExtendedAlerts, ComeInOrderWithTheirOwnEntriesAndTexts) {
  std::vector<printer::Alert> built(3);
  built[0] = {.entries = {{1, "Paper jam"}, {2, "Open door B"}}, .text9 = "Tray 1", .text10 = "ten", .code = 100};
  built[1] = {.entries = {}, .text9 = "No entry", .text10 = {}, .code = 200};
  for (std::uint64_t i = 0; i < 9; ++i) built[2].entries.push_back({i, "entry " + std::to_string(i)});
  const Alerts alerts(printer::alertResponse(printer::MASK_WARNINGS, printer::alertBlock(built)));
  ASSERT_EQ(alerts.count, 3);
  ASSERT_EQ(alerts[0].entryCount, 2);
  EXPECT_EQ(alerts.entry(0, 0), "1 Paper jam");
  EXPECT_EQ(alerts.entry(0, 1), "2 Open door B");
  EXPECT_EQ(alerts[0].item_1_1, 101U);
  EXPECT_EQ(alerts[0].item_4, 107U);
  EXPECT_STREQ(alerts[0].text_1_4_9.data(), "Tray 1");
  EXPECT_STREQ(alerts[0].text_1_4_10.data(), "ten");
  EXPECT_EQ(alerts[1].entryCount, 0);
  EXPECT_EQ(alerts[1].item_1_4_2, 205U);
  EXPECT_STREQ(alerts[1].text_1_4_10.data(), "");
  ASSERT_EQ(alerts[2].entryCount, 9);
  EXPECT_EQ(alerts.entry(2, 0), "0 entry 0");
  EXPECT_EQ(alerts.entry(2, 7), "7 entry 7");
  EXPECT_EQ(alerts.entry(2, 8), "8 entry 8");
  for (const int i : {0, 1, 2}) EXPECT_EQ(alerts[i].alertType, ALERT_WARNING);
}

TEST(ExtendedAlerts, OpenOnlyInSequenceAndOnlyWhereTheyBelong) {
  const auto alert = [](std::uint8_t number) { return containerItem(number, {integerItem(4, number)}); };
  const auto entry = [](std::uint8_t number, const char* text) { return containerItem(number, {stringItem(3, text)}); };
  const std::pair<std::vector<Bytes>, std::vector<std::uint64_t>> lists[] = {
      {{containerItem(2, {alert(1), alert(3)})}, {1}},
      {{containerItem(2, {alert(2), alert(1), alert(2)})}, {1, 2}},
      {{containerItem(2, {alert(1)}), containerItem(2, {alert(1), alert(2)})}, {1, 1, 2}},
      {{containerItem(2, {alert(0), alert(1)}), integerItem(4, 8)}, {1}},
      {{containerItem(3, {alert(1)}), containerItem(1, {containerItem(2, {alert(1)})})}, {}},
  };
  for (const auto& [root, values] : lists) {
    const auto alerts = alertsIn(root);
    ASSERT_EQ(alerts.count, static_cast<std::int32_t>(values.size()));
    for (std::size_t i = 0; i < values.size(); ++i) EXPECT_EQ(alerts[static_cast<int>(i)].item_4, values[i]);
  }
  // 200 is -56 in a path. A list of entries that comes again starts again.
  const auto first = containerItem(2, {entry(2, "b"), entry(1, "a"), entry(200, "c"), entry(2, "d")});
  const auto again = containerItem(2, {entry(1, "e")});
  const auto once = alertsIn({containerItem(2, {containerItem(1, {first})})});
  ASSERT_EQ(once[0].entryCount, 2);
  EXPECT_EQ(once.entry(0, 0) + once.entry(0, 1), "0 a0 d");
  const auto twice = alertsIn({containerItem(2, {containerItem(1, {first, again})})});
  ASSERT_EQ(twice[0].entryCount, 1);
  EXPECT_EQ(twice.entry(0, 0), "0 e");
}

TEST(ExtendedAlerts, BoundTheirTexts) {
  const std::string most(254, 'x');
  const std::pair<std::string, std::string> texts[] = {
      {most, most}, {most + "y", most}, {most + "yz", most}, {{"ab\0cd", 5}, "ab"}, {"", ""}};
  for (const auto& [sent, kept] : texts) {
    // The second text of a path replaces the first whole.
    const Bytes details = containerItem(4, {stringItem(9, "a long text"), stringItem(9, sent), stringItem(10, sent)});
    const Bytes entries = containerItem(2, {containerItem(1, {stringItem(3, "another text"), stringItem(3, sent)})});
    const auto alerts = alertsIn({containerItem(2, {containerItem(1, {containerItem(1, {details}), entries})})});
    ASSERT_EQ(alerts.count, 1);
    const auto& entryText = alerts[0].entries[0].text;
    EXPECT_EQ(std::string(entryText.begin(), entryText.end()), kept + std::string(256 - kept.size(), '\0'));
    const auto& text9 = alerts[0].text_1_4_9;
    EXPECT_EQ(std::string(text9.begin(), text9.end()), kept + std::string(255 - kept.size(), '\0'));
    EXPECT_EQ(alerts[0].text_1_4_10.data(), kept);
  }
}

TEST(ExtendedAlerts, TakeTheirTypeFromTheMask) {
  const Bytes block = printer::alertBlock({{.entries = {{1, "Text"}}, .text9 = {}, .text10 = {}}});
  const std::pair<int, AlertType> types[] = {{0x01, ALERT_ERROR},   {0x03, ALERT_ERROR},   {0xFD, ALERT_ERROR},
                                             {0x02, ALERT_WARNING}, {0xFE, ALERT_WARNING}, {0x00, ALERT_OTHER},
                                             {0xFC, ALERT_OTHER}};
  for (const auto& [mask, type] : types) {
    EXPECT_EQ(Alerts(printer::alertResponse(static_cast<std::uint8_t>(mask), block))[0].alertType, type) << mask;
  }
  std::string digits(9, '0');
  convertDecimalToBinary(0x16, digits);
  EXPECT_EQ(digits, "011010000");
}

TEST(AlertHeader, GivesTheWidthsOfItsGroups) {
  FieldWidths widths;
  EXPECT_EQ(ParseHeaderStringInfo("P{DT:12 ID:3}x{LD:4 NE:56}y{LD:7}", widths), 0);
  EXPECT_EQ(widths.idWidth, 3U);
  EXPECT_EQ(widths.typeWidth, 12U);
  EXPECT_EQ(widths.countWidth, 56U);
  EXPECT_EQ(widths.lengthWidth, 4U);
  EXPECT_EQ(widths.valueLengthWidth, 7U);

  widths = {};
  EXPECT_EQ(ParseHeaderStringInfo("P{ID:-1 DT:99999999999999999999}x{}x{ID:5}", widths), 0);
  EXPECT_EQ(widths.idWidth, 0U);
  EXPECT_EQ(widths.typeWidth, std::numeric_limits<std::uint64_t>::max());
  EXPECT_EQ(widths.countWidth, 0U);
  EXPECT_EQ(widths.valueLengthWidth, 0U);
  for (const auto* text :
       {"", "P", "P{", "P{ID:1", "P{ID:1}", "P{ID:1}x{NE:1", "P{ID:1}x{NE:1}", "P{}x{}x", "P{}x{}x{LD:"}) {
    EXPECT_EQ(ParseHeaderStringInfo(text, widths), -1) << text;
  }
}

TEST(AlertHeader, WithoutAValueLengthLeavesValuesEmpty) {
  const Bytes root = unhex("01 00 01 00 0E  02 00 01 00 09  01 00 01 00 04  04 01  04 01");
  const Alerts alerts(printer::alertResponse(1, printer::alertBlock(root, "P{ID:1 DT:1}C{NE:1 LD:2}V{}")));
  ASSERT_EQ(alerts.count, 1);
  EXPECT_EQ(alerts[0].item_4, 0U);
}

TEST(AlertItems, ReadNumbersWithinTheirBytes) {
  const Bytes bytes = unhex("01 02 03 04 05 06 07 08 09 0A");
  EXPECT_EQ(HexStrToLong(bytes, 1, 3), 0x020304U);
  EXPECT_EQ(HexStrToLong(bytes, 0, 10), 0x030405060708090AU);
  EXPECT_EQ(HexStrToLong(bytes, 3, 0), 0U);
  EXPECT_EQ(HexStrToLong(bytes, 9, 2), 0U);
  EXPECT_EQ(HexStrToLong(bytes, 11, 0), 0U);
  EXPECT_EQ(HexStrToLong(bytes, std::numeric_limits<std::uint64_t>::max(), 2), 0U);
  EXPECT_EQ(twoByteSwap(0x12FE), 0xFE12);
  std::int8_t identifier = 0;
  std::uint8_t type = 0;
  const FieldWidths widths{.idWidth = 2, .typeWidth = 1, .countWidth = 0, .lengthWidth = 0, .valueLengthWidth = 0};
  EXPECT_TRUE(GetItemInfo(unhex("01 C8 85"), widths, identifier, type));
  EXPECT_EQ(identifier, -56);
  EXPECT_EQ(type, 0x85);
  EXPECT_FALSE(GetItemInfo(unhex("01 C8"), widths, identifier, type));
  std::string copy(6, '#');
  EXPECT_EQ(decodeString("ab", copy), 2U);
  EXPECT_EQ(copy, std::string("ab\0###", 6));
  EXPECT_EQ(decodeString("abcdefgh", copy), 5U);
  EXPECT_EQ(copy, std::string("abcde\0", 6));
}

TEST(LyingAlerts, AreRefusedWhenTheirFrameIsBroken) {
  const Bytes valid = unhex(EVERY_ITEM);
  const std::pair<std::size_t, int> breaks[] = {{0, 0xA4}, {29, 'Q'}, {30, '('}, {40, ')'}, {59, ')'}, {26, 30}};
  for (const auto& [offset, byte] : breaks) {
    Bytes response = valid;
    response[offset] = static_cast<std::uint8_t>(byte);
    EXPECT_EQ(Alerts(response).result, -1) << offset;
    EXPECT_EQ(Alerts(response).count, 0) << offset;
  }
  EXPECT_EQ(Alerts(printer::alertResponse(1, printer::alertBlock(std::vector<printer::Alert>()))).result, -1)
      << "no alert";
  Alerts({});
}

TEST(LyingAlerts, GiveWhatWasReceivedOfThem) {
  const Bytes valid = unhex(EVERY_ITEM);
  for (std::size_t size = 0; size < valid.size(); ++size) {
    const Alerts alerts(Bytes(valid.begin(), valid.begin() + static_cast<std::ptrdiff_t>(size)));
    ASSERT_EQ(alerts.count, size < 88 ? 0 : 1) << size;  // the bytes up to the identifier of container 1.2.1
  }
  // Content lengths only say where the next item is, so that lies about them lose no alert.
  for (const auto& [offset, byte] : {std::pair(70, 0), {70, 8}, {85, 0}, {92, 0xFF}, {93, 0}, {101, 0}}) {
    Bytes lying = valid;
    lying[static_cast<std::size_t>(offset)] = static_cast<std::uint8_t>(byte);
    EXPECT_EQ(Alerts(lying)[0].item_1_1, 0x0BU) << offset;
  }
  Bytes tall = valid;
  tall[25] = tall[26] = 0xFF;  // a block length beyond what was received
  EXPECT_EQ(Alerts(tall)[0].item_4, 0x4DU);
  // The text of the second-to-last item claims more than is left.
  const auto alerts = alertsIn(
      {containerItem(2, {containerItem(1, {containerItem(1, {containerItem(4, {unhex("09 02 FF FF 41 42")})})})})});
  EXPECT_STREQ(alerts[0].text_1_4_9.data(), "AB");
}

TEST(LyingAlerts, CostNoMoreThanTheirBytes) {
  // Containers in containers, each with all that follows or with nothing; counts and lengths as large as they go;
  // identifiers, types and values that take no bytes.
  Bytes nested, empty;
  for (int depth = 0; depth < 240; ++depth) {
    nested = nested + unhex("02 FF FF FF");
    empty = empty + unhex("02 FF 00 00");
  }
  for (const auto* header :
       {"P{ID:1 DT:0}x{NE:1 LD:2}x{LD:0}", "P{ID:0 DT:0}x{NE:8 LD:8}x{LD:0}", "P{ID:0 DT:0}x{NE:1 LD:0}x{LD:0}",
        "P{ID:0 DT:1}x{NE:8 LD:0}x{LD:0}", "P{ID:1 DT:0}x{NE:8 LD:8}x{LD:8}", "P{ID:9999999999999999999 DT:1}x{}x{}",
        "P{ID:1 DT:99999999}x{NE:1 LD:1}x{}", "P{ID:0 DT:0}x{NE:0 LD:0}x{LD:0}"}) {
    for (const Bytes& root : {nested, empty, Bytes(960, 0xFF), Bytes(960, 0x00)}) {
      EXPECT_EQ(Alerts(printer::responseHead(1) + printer::alertBlock(root, header)).count, 0) << header;
    }
  }
  // As many alerts as a block can hold: 90 lists of one alert.
  Bytes lists = unhex("01 005A 0384");
  for (int i = 0; i < 90; ++i) lists = lists + unhex("02 0001 0005  01 0000 0000");
  const Alerts alerts(printer::responseHead(1) + printer::alertBlock(lists, "P{ID:1 DT:0}x{NE:2 LD:2}x{LD:0}"));
  EXPECT_EQ(alerts.count, 90);
}

}  // namespace
}  // namespace kesto
