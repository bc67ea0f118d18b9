// What `cmake --install` puts where, that the spooler will run it, and that it is hardened.
#include <filesystem>
#include <regex>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/process.h"

namespace kesto::test {
namespace {

namespace fs = std::filesystem;

/// Installs the build into `folder`.
Outcome installInto(const TemporaryFolder& folder) {
  return run({.program = KESTO_CMAKE,
              .arguments = {"cmake", "--install", KESTO_BUILD, "--prefix", "/usr"},
              .environment = {{"DESTDIR", folder.path()}, {"PATH", "/usr/bin:/bin"}}});
}

std::string outputOf(std::vector<std::string> arguments) {
  const std::string program = "/usr/bin/" + arguments.front();
  const Outcome outcome = run({.program = program, .arguments = std::move(arguments)});
  EXPECT_EQ(outcome.status, 0) << outcome.log;
  return {outcome.output.begin(), outcome.output.end()};
}

TEST(Install, PutsEveryPartWhereTheSpoolerLooksForIt) {
  const TemporaryFolder folder;
  const Outcome outcome = installInto(folder);
  ASSERT_EQ(outcome.status, 0) << outcome.log;
  for (const char* file : {"/usr/lib/cups/filter/pdftokesto", "/usr/share/cups/drv/kesto.drv", "/usr/bin/kestoprinter",
                           "/usr/share/cups/ppdc/kesto-de.po", "/usr/share/man/man8/pdftokesto.8",
                           "/usr/share/man/man1/kestoprinter.1", "/usr/share/bash-completion/completions/kestojob"}) {
    EXPECT_TRUE(fs::is_regular_file(folder.path() + file)) << file;
  }
  const fs::perms modes = fs::status(folder.path() + "/usr/lib/cups/filter/pdftokesto").permissions();
  EXPECT_EQ(modes, fs::perms{0755}) << "the spooler refuses a filter that others can write";
}

TEST(Install, TheProgramsAreHardened) {
  if (!KESTO_HARDENED) GTEST_SKIP() << "release builds are";
  const TemporaryFolder folder;
  ASSERT_EQ(installInto(folder).status, 0);
  const std::pair<const char*, const char*> marks[] = {
      {"position independent", "Type:\\s+DYN \\(Position-Independent"},
      {"relocations read-only", "GNU_RELRO"},
      {"all of them, from the start", "FLAGS_1\\)\\s+Flags: NOW PIE"},
      {"no code on the stack", "GNU_STACK(\\s+0x0+){3}\\s+0x0+\\s+0x0+\\s+RW "},
      {"stack protector", "UND __stack_chk_fail@"},
      {"fortified", "UND __[a-z]+_chk@"},
  };
  for (const char* program :
       {"/usr/lib/cups/filter/pdftokesto", "/usr/bin/kestodoctor", "/usr/bin/kestojob", "/usr/bin/kestoprinter"}) {
    const std::string path = folder.path() + program;
    const std::string found = outputOf({"readelf", "-W", "-h", "-l", "-d", "--dyn-syms", path});
    for (const auto& [what, pattern] : marks) {
      EXPECT_TRUE(std::regex_search(found, std::regex(pattern))) << program << ": " << what;
    }
  }
}

}  // namespace
}  // namespace kesto::test
