#include "endtoend/filterrun.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include <gtest/gtest.h>
#include <unistd.h>

#include "base/poll.h"
#include "support/file.h"

namespace kesto::test {
namespace {

constexpr char FOLDER_VARIABLE[] = "KESTO_TEST_FOLDER";

/// The processes that carry `marker` in their environment.
int processesWith(const std::string& marker) {
  int count = 0;
  for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
    if (contentOf(entry.path() / "environ").find(marker) != std::string::npos) ++count;
  }
  return count;
}

}  // namespace

Command filterCommand(const FilterCall& call, const TemporaryFolder& folder) {
  Command command;
  // A filter for another processor comes as a script that runs it.
  const char* other = std::getenv("KESTO_FILTER");  // NOLINT(concurrency-mt-unsafe): one thread
  command.program = other != nullptr ? other : KESTO_FILTER;
  // Both filters are in one folder, and so are their scripts.
  if (call.rendered) command.program = std::filesystem::path(command.program).replace_filename("rastertokesto");
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
                         {FOLDER_VARIABLE, folder.path()},
                         {"PATH", "/usr/bin:/bin"}};
  if (!call.fileType.empty()) command.environment.emplace_back("CUPS_FILETYPE", call.fileType);
  const std::string serverBin = call.realRenderer ? "/usr/lib/cups" : KESTO_STANDIN_SERVERBIN;
  command.environment.emplace_back("CUPS_SERVERBIN", call.serverBin.empty() ? serverBin : call.serverBin);
  for (const auto& setting : sanitizerSettings()) command.environment.push_back(setting);
  return command;
}

void expectNothingLeft(const TemporaryFolder& folder) {
  EXPECT_TRUE(std::filesystem::is_empty(folder.path() + "/tmp"));
  // What has been killed may take a moment to go.
  const auto none = [&folder] { return processesWith(FOLDER_VARIABLE + ("=" + folder.path())) == 0; };
  EXPECT_TRUE(pollUntil(none, std::chrono::seconds(2)));
}

Bytes withoutDate(const Bytes& job) {
  std::string text(job.begin(), job.end());
  const std::size_t date = text.find("FDATETIME=");
  if (date == std::string::npos) return job;
  text.erase(date, text.find('\n', date) - date);
  return {text.begin(), text.end()};
}

FilterCall renderedCall(FilterCall call) {
  const TemporaryFolder folder;
  Command command = filterCommand(call, folder);
  command.program = KESTO_STANDIN_SERVERBIN "/filter/pdftoraster";
  if (call.onStandardInput) command.arguments.push_back(folder.write("document", call.document));
  const Outcome outcome = run(command);
  call.document.assign(outcome.output.begin(), outcome.output.end());
  call.rendered = true;
  return call;
}

Outcome runFilter(const FilterCall& call) {
  const TemporaryFolder folder;
  Outcome outcome = run(filterCommand(call, folder));
  EXPECT_FALSE(outcome.timedOut);
  EXPECT_EQ(outcome.signal, 0) << outcome.log;
  expectNothingLeft(folder);
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

}  // namespace kesto::test
