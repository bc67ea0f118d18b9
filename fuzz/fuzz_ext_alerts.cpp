// A response of any content through the alert parser.
#include <algorithm>
#include <cstdint>
#include <span>
#include <vector>

#include "npa/NPAValidator.h"
#include "npa/NpaParser.h"
#include "npa/alerttext.h"
#include "require.h"

namespace {

using kesto::fuzz::note;
using kesto::fuzz::require;

void requireText(std::span<const char> text) {
  require(std::ranges::find(text, '\0') != text.end());
}

void requireSound(const kesto::PSSDALERTINFO& alert, std::size_t responseSize) {
  requireText(alert.text_1_4_9);
  requireText(alert.text_1_4_10);
  require(alert.entryCount >= 0 && static_cast<std::size_t>(alert.entryCount) <= responseSize);
  for (const std::uint64_t item : {alert.item_1_1, alert.item_1_2_1, alert.item_1_2_2, alert.item_1_3, alert.item_1_4_2,
                                   alert.item_1_4_3, alert.item_4}) {
    note(static_cast<std::int64_t>(item));
  }
  note(std::int64_t{alert.alertType});
  note(alert.text_1_4_9);
  note(alert.text_1_4_10);
  for (const auto& entry : std::span(alert.entries, static_cast<std::size_t>(alert.entryCount))) {
    requireText(entry.text);
    note(static_cast<std::int64_t>(entry.value));
    note(entry.text);
  }
  note(alertText(alert));
  for (const char c : alertText(alert)) require(static_cast<std::uint8_t>(c) >= 0x20 && c != 0x7F);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  kesto::PSSDALERTINFO* records = nullptr;
  std::int32_t count = -1;
  std::vector<std::uint8_t> response(data, data + size);
  response.resize(kesto::VALID_BUFFER_SIZE);
  const auto result = kesto::GetExtAlertInformation(response.data(), 0, records, count);
  require(result == 0 ? records != nullptr && count > 0 : records == nullptr && count == 0);
  require(static_cast<std::size_t>(count) <= response.size());
  for (const auto& alert : std::span(records, static_cast<std::size_t>(count))) requireSound(alert, response.size());
  note(count);
  kesto::releaseAlerts(records, count);
  return 0;
}
