// How the filter behaves when something is wrong: its messages, its exit status, and that nothing is left behind.
#include <cerrno>
#include <filesystem>

#include <gtest/gtest.h>

#include "endtoend/filterrun.h"
#include "support/file.h"

namespace kesto::test {
namespace {

void expectOneError(const Outcome& outcome, const std::string& text) {
  const auto errors = outcome.linesWith("ERROR:");
  ASSERT_EQ(errors.size(), 1u) << outcome.log;
  EXPECT_NE(errors[0].find(text), std::string::npos) << errors[0];
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
  return contentOf(path);
}

TEST(Behaviour, AnUnprintableDocumentGivesAJobWithoutPagesAndOneClearError) {
  const std::pair<FilterCall, const char*> cases[] = {
      {{.document = "", .realRenderer = true}, "no page that can be printed"},
      {{.document = "", .onStandardInput = true, .realRenderer = true}, "no page that can be printed"},
      {{.document = "this is no PDF", .realRenderer = true}, "no page that can be printed"},
      {{.document = encryptedPdf(), .realRenderer = true}, "no page that can be printed: pdftoraster was ended"},
  };
  for (const auto& [call, message] : cases) {
    const Outcome outcome = runFilter(call);
    EXPECT_EQ(outcome.status, 0);
    expectOneError(outcome, message);
    EXPECT_EQ(parseJob(outcome.output).pages.size(), 0u);
  }
  const TemporaryFolder folder;
  Command command = filterCommand({.document = "page"}, folder);
  command.arguments.back() = folder.path() + "/missing.pdf";
  expectOneError(run(command), "Unable to open the document: No such file");
  command.arguments.resize(5);
  const Outcome wrong = run(command);
  EXPECT_EQ(wrong.status, 1);
  EXPECT_NE(wrong.log.find("Usage: Kesto_Queue job user title copies options [filename]\n"), std::string::npos);
  EXPECT_TRUE(wrong.output.empty());
}

TEST(Behaviour, TheRendererGetsTheJobsArgumentsAndNoDescriptorOfTheSpooler) {
  const TemporaryFolder folder;
  Command command = filterCommand({.document = "arguments\npage"}, folder);
  command.program = "/bin/sh";  // opens the back and the side channel, as the spooler does
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
  EXPECT_EQ(outcome.linesWith("DEBUG: renderer arguments"),
            std::vector{"DEBUG: renderer arguments [" + std::string(KESTO_FILTER) +
                        "] [17] [anna] [A title] [1] [a=b c] [" + folder.path() + "/document]"});
}

TEST(Behaviour, ARendererWithoutAnInterpretersNameIsRunByTheShell) {
  const TemporaryFolder folder;
  std::filesystem::create_directory(folder.path() + "/filter");
  const std::string script = "exec " KESTO_STANDIN_SERVERBIN "/filter/pdftoraster \"$@\"\n";
  std::filesystem::permissions(folder.write("filter/pdftoraster", script), std::filesystem::perms::all);
  EXPECT_EQ(printJob({.document = "page\npage", .serverBin = folder.path()}).pages.size(), 2u);
}

TEST(Behaviour, AnOutputThatFailsEndsTheJobWithTheErrorNumber) {
  const TemporaryFolder folder;
  std::string recipe;
  for (int i = 0; i < 40; ++i) recipe += "page width=2400 height=800 pattern=noise seed=" + std::to_string(i) + "\n";
  Process filter(filterCommand({.document = recipe + "hang"}, folder));
  filter.collectFor(std::chrono::milliseconds(200));
  filter.closeOutput();
  const Outcome outcome = filter.finish();
  EXPECT_EQ(outcome.status, EPIPE) << outcome.log;
  expectOneError(outcome, "Unable to write the print data: Broken pipe");
  expectNothingLeft(folder);
}

}  // namespace
}  // namespace kesto::test
