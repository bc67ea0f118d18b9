// Blocks of bytes, as a printer sends them, through the reassembly and on to what would be reported.
#include <algorithm>
#include <cstdint>
#include <span>
#include <vector>

#include "npa/NPAValidator.h"
#include "npa/NpaParser.h"
#include "npa/alerttext.h"
#include "require.h"

namespace {

using kesto::fuzz::require;

void startReassembly() {
  kesto::validBuffer = {};
  kesto::setContinueFlag = 0;
  kesto::firstresponse = 1;
  kesto::validBufferCount = 0;
  kesto::firstResponseBufferCount = 0;
}

void readAlerts(std::int32_t length) {
  kesto::PSSDALERTINFO* records = nullptr;
  std::int32_t count = 0;
  static_cast<void>(
      kesto::GetExtAlertInformation(kesto::validBuffer.data(), static_cast<std::uint32_t>(length), records, count));
  for (const auto& alert : std::span(records, static_cast<std::size_t>(count))) require(!alertText(alert).empty());
  kesto::releaseAlerts(records, count);
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
    kesto::fuzz::note(number);
  }
  kesto::fuzz::note(kesto::validBuffer);
  if (!complete) return;
  readAlerts(length);
  kesto::validBuffer = {};
}

/// A request as it goes out over the network, and whether it would pass for an answer.
void requireRequest(std::span<const std::uint8_t> command) {
  const auto length = static_cast<std::int32_t>(command.size());
  std::vector<std::uint8_t> request(command.size() + kesto::NETWORK_HEADER_SIZE);
  const bool sent = kesto::AssembleNPACommand(command.data(), request.data(), length) == std::ssize(request);
  require(sent == (command.data() != nullptr));
  require(!sent || std::ranges::equal(command, std::span(request).subspan(kesto::NETWORK_HEADER_SIZE)));
  kesto::fuzz::note(kesto::isAckIDValid(command));
  if (sent) kesto::fuzz::note(request);
  require(!kesto::isAckIDValid(command) || command.size() >= kesto::NETWORK_ANSWER_OFFSET);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
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
