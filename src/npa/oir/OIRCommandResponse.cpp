#include "npa/oir/OIRCommandResponse.h"

#include <algorithm>
#include <span>
#include <string_view>

namespace kesto {

namespace {

constexpr std::size_t ENTRIES_OFFSET = 7;
constexpr std::size_t ENTRY_HEADER_SIZE = 4;

// clang-format off
/// By component code - 1.
constexpr std::array<std::string_view, 16> COMPONENTS = {
    "Input", "Output", "Internal", "Duplex", "External", "", "Device", "Supplies", "Logical Unit/Emulator", "Cover",
    "Option", "Port", "Scanner", "Qbi Framework", "Qbi Application", "Unknown"};

/// By condition code - 1, ten a line. Blanks stand, and are missing, as users of these printers know the texts.
constexpr std::array<std::string_view, 60> CONDITIONS = {
    "Open", "Closed", "Missing", "Low", "Empty", "Nearly  Full", "Full", "Jam", "", "",
    "Abnormal", "Defective", "Unsupported", "Unlicensed", "Abnormal", "Power", "Invalid", "Attached", "Unattached",
        "Lost",
    "Maintenance", "Level Change", "Disabled", "Supply Jam", "Unformatted", "Software Error", "Font Error",
        "Priming Error", "Paper Info", "Too Many",
    "Page Error", "Jobs", "Offline", "Operation Failed", "Communication", "Incorrect Installation", "Expired",
        "Paper Reload", "Nearly Expired", "Refilled",
    "Exhausted", "NearlyExhausted", "Corrupted", "Uncalibrated", "Configuration Changed", "Calibrating/Aligning",
        "Setup Required", "Incorrect Media in Tray", "Getting Low/Nearly Low", "First Low",
    "Nearly Empty Post 1", "Nearly Empty Post 2", "Nearly Empty Pre 1", "Nearly Empty Pre 2", "Nearly Empty",
        "Overfilled", "Region Mismatch", "Locked", "Early Warning", "Beta Version"};
// clang-format on

constexpr std::size_t longest(std::span<const std::string_view> names) {
  return std::ranges::max(names, {}, &std::string_view::size).size();
}
static_assert(longest(COMPONENTS) + longest(CONDITIONS) < 50, "every text fits, its NUL included");

/// The name for a code that counts from 1; null for one that is not in the table.
const std::string_view* nameOf(std::span<const std::string_view> names, std::uint8_t code) {
  return code >= 1 && code <= names.size() ? &names[code - 1U] : nullptr;
}

}  // namespace

std::int32_t OIRCommandResp::ParseOIRResponse(unsigned char* data, unsigned short length, int& count) {
  entries_.clear();
  texts_.clear();
  count = 0;
  const std::span<const std::uint8_t> answer(data, length);
  if (answer.size() <= ENTRIES_OFFSET || answer[0] != 0xA5) return -1;
  start_ = answer[0];
  length_ = {answer[1], answer[2]};
  flags_ = answer[3];
  class_ = answer[4];
  command_ = answer[5];
  count_ = answer[6];

  auto rest = answer.subspan(ENTRIES_OFFSET);
  while (entries_.size() < count_ && rest.size() >= ENTRY_HEADER_SIZE) {
    const std::size_t entryLength = rest[3];
    if (entryLength < ENTRY_HEADER_SIZE || entryLength > rest.size()) break;
    auto& entry = entries_.emplace_back();
    std::ranges::copy(rest.first(ENTRY_HEADER_SIZE), entry.header.begin());
    std::ranges::copy(rest.first(entryLength), entry.bytes.begin());
    rest = rest.subspan(entryLength);
  }
  texts_.resize(entries_.size());
  count = static_cast<int>(entries_.size());
  return 1;
}

std::int32_t OIRCommandResp::mappedString(char** texts) {
  for (std::size_t i = 0; i < entries_.size(); ++i) {
    const auto* component = nameOf(COMPONENTS, entries_[i].header[0]);
    const auto* condition = nameOf(CONDITIONS, entries_[i].header[2]);
    if (component == nullptr || condition == nullptr) continue;
    texts_[i] = {};
    std::ranges::copy(*condition, std::ranges::copy(*component, texts_[i].begin()).out);
    texts[i] = texts_[i].data();
  }
  return static_cast<std::int32_t>(entries_.size());
}

}  // namespace kesto
