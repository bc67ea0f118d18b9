// Blocks of bytes, as a printer sends them, through the reassembly and on to what would be reported; and the whole of
// them as one response through the alert parser.
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

/// A response through the alert parser.
void parseAlerts(std::vector<std::uint8_t> response) {
  kesto::PSSDALERTINFO* records = nullptr;
  std::int32_t count = -1;
  response.resize(kesto::VALID_BUFFER_SIZE);
  const auto result = kesto::GetExtAlertInformation(response.data(), 0, records, count);
  require(result == 0 ? records != nullptr && count > 0 : records == nullptr && count == 0);
  require(static_cast<std::size_t>(count) <= response.size());
  for (const auto& alert : std::span(records, static_cast<std::size_t>(count))) requireSound(alert, response.size());
  note(count);
  kesto::releaseAlerts(records, count);
}

void startReassembly() {
  kesto::validBuffer = {};
  kesto::setContinueFlag = 0;
  kesto::firstresponse = 1;
  kesto::validBufferCount = 0;
  kesto::firstResponseBufferCount = 0;
}

void receive(const std::vector<std::uint8_t>& block) {
  std::int32_t length = -1;
  std::int32_t done = 1;
  const bool complete = kesto::ValidateReceivedResponse(block.data(), kesto::validBuffer,
                                                        static_cast<std::uint32_t>(block.size()), length, done);
  require(length >= 0 && length <= 1024);
  require(!complete || (done == -1 && length >= 7));
  require(kesto::validBufferCount >= 0 && kesto::validBufferCount <= 1024);
  require(kesto::firstResponseBufferCount >= 0);
  for (const std::int32_t number :
       {std::int32_t{complete}, done, length, kesto::validBufferCount, kesto::firstResponseBufferCount,
        std::int32_t{kesto::setContinueFlag}, std::int32_t{kesto::firstresponse}}) {
    note(number);
  }
  note(kesto::validBuffer);
  if (!complete) return;
  parseAlerts({kesto::validBuffer.begin(), kesto::validBuffer.end()});
  kesto::validBuffer = {};
}

/// A request as it goes out over the network, and whether it would pass for an answer.
void requireRequest(std::span<const std::uint8_t> command) {
  const auto length = static_cast<std::int32_t>(command.size());
  std::vector<std::uint8_t> request(command.size() + kesto::NETWORK_HEADER_SIZE);
  const bool sent = kesto::AssembleNPACommand(command.data(), request.data(), length) == std::ssize(request);
  require(sent == (command.data() != nullptr));
  require(!sent || std::ranges::equal(command, std::span(request).subspan(kesto::NETWORK_HEADER_SIZE)));
  note(kesto::isAckIDValid(command));
  if (sent) note(request);
  require(!kesto::isAckIDValid(command) || command.size() >= kesto::NETWORK_ANSWER_OFFSET);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  parseAlerts({data, data + size});
  startReassembly();
  requireRequest({data, size});
  // Two bytes of length before each block; the last block is what is left.
  std::span rest(data, size);
  while (rest.size() >= 2) {
    const std::size_t wanted = std::size_t{rest[0]} << 8 | rest[1];
    rest = rest.subspan(2);
    const auto block = rest.first(std::min(wanted, rest.size()));
    rest = rest.subspan(block.size());
    receive({block.begin(), block.end()});  // storage of its own, so that a read beyond it is seen
  }
  return 0;
}
