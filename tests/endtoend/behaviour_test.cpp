// How the filter behaves when something is wrong: its messages, its exit status, and that nothing is left behind.
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>

#include <gtest/gtest.h>
#include <signal.h>

#include "endtoend/filterrun.h"

namespace kesto::test {
namespace {

std::string onlyError(const Outcome& outcome) {
  const auto errors = outcome.linesWith("ERROR:");
  EXPECT_EQ(errors.size(), 1u) << outcome.log;
  return errors.empty() ? "" : errors[0];
}

/// A document that opens with a password only.
std::string encryptedPdf() {
  const TemporaryFolder folder;
  const std::string path = folder.path() + "/encrypted.pdf";
  const Outcome made = run({.program = "/usr/bin/gs",
                            .arguments = {"gs", "-q", "-dBATCH", "-dNOPAUSE", "-sDEVICE=pdfwrite", "-sUserPassword=u",
                                          "-sOwnerPassword=o", "-o", path, "-c", "showpage"},
                            .environment = {{"PATH", "/usr/bin:/bin"}}});
  EXPECT_EQ(made.status, 0) << made.log;
  std::ifstream stream(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

TEST(Behaviour, ADocumentThatIsMissingIsToldOnce) {
  TemporaryFolder folder;
  Command command = filterCommand({.document = "page"}, folder);
  command.arguments.back() = folder.path() + "/missing.pdf";
  const Outcome outcome = run(command);
  EXPECT_EQ(outcome.status, 0);
  EXPECT_NE(onlyError(outcome).find("Unable to open the document: No such file"), std::string::npos);
  EXPECT_EQ(parseJob(outcome.output).pages.size(), 0u);
}

TEST(Behaviour, AWrongArgumentCountIsToldAndNothingIsPrinted) {
  TemporaryFolder folder;
  Command command = filterCommand({.document = "page"}, folder);
  command.arguments.resize(5);
  const Outcome outcome = run(command);
  EXPECT_EQ(outcome.status, 1);
  EXPECT_NE(outcome.log.find("Usage: Kesto_Queue job user title copies options [filename]\n"), std::string::npos);
  EXPECT_TRUE(outcome.output.empty());
}

TEST(Behaviour, TheRendererGetsTheJobsArgumentsAndNoDescriptorOfTheSpooler) {
  TemporaryFolder folder;
  Command command = filterCommand({.document = "arguments\npage"}, folder);
  command.program = "/bin/sh";  // opens the descriptors of the back and side channel, as the spooler does
  command.arguments = {"sh",
                       "-c",
                       "exec \"$0\" \"$@\" 3</dev/null 4</dev/null",
                       KESTO_FILTER,
                       "17",
                       "anna",
                       "A title",
                       "1",
                       "a=b c",
                       folder.path() + "/document"};
  const Outcome outcome = run(command);
  EXPECT_EQ(outcome.status, 0) << outcome.log;
  EXPECT_EQ(faultOf(outcome.output), "");
  const auto lines = outcome.linesWith("DEBUG: renderer arguments");
  ASSERT_EQ(lines.size(), 1u) << outcome.log;
  EXPECT_EQ(lines[0], "DEBUG: renderer arguments [" + std::string(KESTO_FILTER) +
                          "] [17] [anna] [A title] [1] [a=b c] [" + folder.path() + "/document]");
}

TEST(Behaviour, ARendererWithoutAnInterpretersNameIsRunByTheShell) {
  const TemporaryFolder folder;
  std::filesystem::create_directory(folder.path() + "/filter");
  const std::string script = "exec " KESTO_STANDIN_SERVERBIN "/filter/pdftoraster \"$@\"\n";
  std::filesystem::permissions(folder.write("filter/pdftoraster", script), std::filesystem::perms::all);
  EXPECT_EQ(printJob({.document = "page\npage", .serverBin = folder.path()}).pages.size(), 2u);
}

TEST(Behaviour, AnUnprintableDocumentGivesAJobWithoutPagesAndOneClearError) {
  struct Case {
    const char* name;
    FilterCall call;
    const char* message;
  };
  const Case cases[] = {
      {"empty", {.document = "", .realRenderer = true}, "no page that can be printed"},
      {"empty on standard input", {.document = "", .onStandardInput = true, .realRenderer = true}, "no page"},
      {"password",
       {.document = encryptedPdf(), .realRenderer = true},
       "no page that can be printed: pdftoraster was ended"},
      {"garbage", {.document = "this is no PDF", .realRenderer = true}, "no page that can be printed"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const Outcome outcome = runFilter(c.call);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_NE(onlyError(outcome).find(c.message), std::string::npos) << outcome.log;
    EXPECT_EQ(parseJob(outcome.output).pages.size(), 0u);
  }
}

TEST(Behaviour, AClosedOutputEndsTheJobWithTheErrorNumber) {
  TemporaryFolder folder;
  std::string recipe;
  for (int i = 0; i < 40; ++i) recipe += "page width=2400 height=800 pattern=noise seed=" + std::to_string(i) + "\n";
  Process filter(filterCommand({.document = recipe + "hang"}, folder));
  filter.closeOutput();
  const Outcome outcome = filter.finish();
  EXPECT_EQ(outcome.status, EPIPE) << outcome.log;
  EXPECT_NE(onlyError(outcome).find("Unable to write the print data: Broken pipe"), std::string::npos);
  expectNothingLeft(folder);
}

TEST(Behaviour, AFullDiskIsReportedOnce) {
  TemporaryFolder folder;
  Command command = filterCommand({.document = "page width=640 height=800 pattern=noise"}, folder);
  command.arguments = {"sh", "-c", "exec \"$0\" \"$@\" >/dev/full", KESTO_FILTER, "17", "anna", "title",
                       "1",  "",   folder.path() + "/document"};
  command.program = "/bin/sh";
  const Outcome outcome = run(command);
  EXPECT_EQ(outcome.status, ENOSPC);
  EXPECT_NE(onlyError(outcome).find("No space left on device"), std::string::npos);
}

}  // namespace
}  // namespace kesto::test
