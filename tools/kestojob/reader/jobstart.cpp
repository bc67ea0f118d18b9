#include "kestojob/reader/jobstart.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "kestojob/reader/npapackets.h"

namespace kesto::job {
namespace {

constexpr std::string_view EXIT_AND_PJL = "\x1B%-12345X@PJL";
constexpr std::string_view END_OF_JOB = " EOJ";  // behind these, what begins is the end of a job

/// The first two status requests: the first one alone comes a second time.
constexpr auto STATUS_REQUESTS = [] {
  std::array<char, npa::SNIFF.size() + npa::REGISTER_ALERTS.size()> bytes{};
  const auto toChar = [](std::uint8_t byte) { return static_cast<char>(byte); };
  const auto next = std::ranges::transform(npa::SNIFF, bytes.begin(), toChar).out;
  std::ranges::transform(npa::REGISTER_ALERTS, next, toChar);
  return bytes;
}();
constexpr std::string_view USB_START(STATUS_REQUESTS.data(), STATUS_REQUESTS.size());

static_assert(USB_START.size() <= JOB_START_LENGTH && EXIT_AND_PJL.size() + END_OF_JOB.size() <= JOB_START_LENGTH);

/// The next universal exit and PJL that is no end of job, nor can be one that the stream breaks off.
std::size_t findPjlStart(std::string_view text, std::size_t from) {
  for (std::size_t found = text.find(EXIT_AND_PJL, from); found != std::string_view::npos;
       found = text.find(EXIT_AND_PJL, found + 1)) {
    const std::string_view rest = text.substr(found + EXIT_AND_PJL.size(), END_OF_JOB.size());
    if (!END_OF_JOB.starts_with(rest)) return found;
  }
  return std::string_view::npos;
}

}  // namespace

std::size_t findJobStart(std::span<const std::uint8_t> bytes, std::size_t from, std::size_t limit) {
  const std::size_t end = std::min(bytes.size(), limit + JOB_START_LENGTH);
  // char may look at any object's bytes, so this cast is the one that is always allowed.
  const std::string_view text(reinterpret_cast<const char*>(bytes.data()), end);
  return std::min({findPjlStart(text, from), text.find(USB_START, from), limit});
}

}  // namespace kesto::job
