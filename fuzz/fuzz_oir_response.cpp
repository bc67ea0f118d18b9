// A datagram through the OIR parser, as the alert handler hands it over: from byte 12 on.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include "npa/oir/OIRCommandResponse.h"
#include "require.h"

using kesto::fuzz::note;
using kesto::fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t prefix = 12;
  size = std::min<std::size_t>(size, 65535);
  std::vector<std::uint8_t> answer(data + std::min(prefix, size), data + size);
  kesto::OIRCommandResp response;
  for (int round = 0; round < 2; ++round) {  // a second answer replaces the first
    int count = -1;
    const auto result = response.ParseOIRResponse(answer.data(), static_cast<unsigned short>(answer.size()), count);
    require(result == 1 ? count >= 0 && count <= 255 : count == 0);
    std::vector<char*> texts(static_cast<std::size_t>(count), nullptr);
    require(response.mappedString(texts.data()) == count);
    for (const char* text : texts) {
      require(text == nullptr || std::strlen(text) < 50);
      note(std::string_view(text == nullptr ? "-" : text));
    }
    answer = std::vector(answer.begin(), answer.begin() + static_cast<std::ptrdiff_t>(answer.size() / 2));
  }
  return 0;
}
