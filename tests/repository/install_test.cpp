// What `cmake --install` puts where, and that the spooler will run it.
#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "support/process.h"

namespace kesto::test {
namespace {

namespace fs = std::filesystem;

TEST(Install, PutsEveryPartWhereTheSpoolerLooksForIt) {
  const TemporaryFolder folder;
  const Outcome outcome = run({.program = KESTO_CMAKE,
                               .arguments = {"cmake", "--install", KESTO_BUILD, "--prefix", "/usr"},
                               .environment = {{"DESTDIR", folder.path()}, {"PATH", "/usr/bin:/bin"}}});
  ASSERT_EQ(outcome.status, 0) << outcome.log;
  for (const char* file :
       {"/usr/lib/cups/filter/pdftokesto", "/usr/share/cups/drv/kesto.drv", "/usr/bin/kestoprinter",
        "/usr/share/cups/ppdc/kesto-de.po", "/usr/share/man/man8/pdftokesto.8", "/usr/share/man/man1/kestoprinter.1"}) {
    EXPECT_TRUE(fs::is_regular_file(folder.path() + file)) << file;
  }
  const fs::perms modes = fs::status(folder.path() + "/usr/lib/cups/filter/pdftokesto").permissions();
  EXPECT_EQ(modes, fs::perms{0755}) << "the spooler refuses a filter that others can write";
}

}  // namespace
}  // namespace kesto::test
