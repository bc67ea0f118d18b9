#include "endtoend/filterrun.h"

#include <filesystem>
#include <fstream>
#include <iterator>

#include <gtest/gtest.h>

namespace kesto::test {
namespace {

constexpr char MARKER[] = "KESTO_TEST_FOLDER=";

}  // namespace

Command filterCommand(const FilterCall& call, const TemporaryFolder& folder) {
  Command command;
  command.program = KESTO_FILTER;
  command.arguments = {"Kesto_Queue", "17", "anna", call.title, call.copies, call.options};
  if (call.onStandardInput) {
    command.input = call.document;
  } else {
    command.arguments.push_back(folder.write("document", call.document));
  }
  std::filesystem::create_directory(folder.path() + "/tmp");
  command.environment = {{"PPD", call.ppd},
                         {"DEVICE_URI", call.deviceUri},
                         {"TMPDIR", folder.path() + "/tmp"},
                         {"KESTO_TEST_FOLDER", folder.path()},
                         {"PATH", "/usr/bin:/bin"}};
  if (!call.fileType.empty()) command.environment.emplace_back("CUPS_FILETYPE", call.fileType);
  const std::string serverBin = call.realRenderer ? "/usr/lib/cups" : KESTO_STANDIN_SERVERBIN;
  command.environment.emplace_back("CUPS_SERVERBIN", call.serverBin.empty() ? serverBin : call.serverBin);
  for (const auto& setting : sanitizerSettings()) command.environment.push_back(setting);
  return command;
}

int processesWith(const std::string& marker) {
  int count = 0;
  for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
    std::ifstream stream(entry.path() / "environ", std::ios::binary);
    const std::string environment{std::istreambuf_iterator<char>(stream), {}};
    if (environment.find(marker) != std::string::npos) ++count;
  }
  return count;
}

Outcome runFilter(const FilterCall& call) {
  const TemporaryFolder folder;
  Outcome outcome = run(filterCommand(call, folder));
  EXPECT_FALSE(outcome.timedOut);
  EXPECT_EQ(outcome.signal, 0) << outcome.log;
  EXPECT_TRUE(std::filesystem::is_empty(folder.path() + "/tmp"));
  EXPECT_EQ(processesWith(MARKER + folder.path()), 0);
  if (!outcome.output.empty()) {
    EXPECT_EQ(faultOf(outcome.output), "");
  }
  return outcome;
}

Job printJob(const FilterCall& call) {
  const Outcome outcome = runFilter(call);
  EXPECT_EQ(outcome.status, 0) << outcome.log;
  EXPECT_EQ(outcome.linesWith("ERROR:").size(), 0u) << outcome.log;
  return parseJob(outcome.output);
}

Bytes withoutDate(const Bytes& job) {
  std::string text(job.begin(), job.end());
  const std::size_t date = text.find("FDATETIME=");
  if (date == std::string::npos) return job;
  text.erase(date, text.find('\n', date) - date);
  return {text.begin(), text.end()};
}

}  // namespace kesto::test
