// The virtual printer as others see it: the spooler's backend, an SNMP manager, whoever calls it.
#include <chrono>
#include <csignal>
#include <filesystem>

#include <gtest/gtest.h>
#include <unistd.h>

#include "base/datagram.h"
#include "base/descriptor.h"
#include "support/file.h"
#include "support/hex.h"
#include "support/printerprocess.h"

namespace kesto::test {
namespace {

using namespace std::chrono_literals;
using Strings = std::vector<std::string>;

constexpr char BACKEND[] = "/usr/lib/cups/backend/socket";

Outcome call(Strings arguments) {
  arguments.insert(arguments.begin(), "kestoprinter");
  return run({.program = KESTO_PRINTER, .arguments = arguments});
}

/// Runs the backend as the spooler does: with a back channel and a side channel on descriptors 3 and 4, here silent.
Outcome printThroughBackend(const PrinterProcess& printer, const std::string& job) {
  const TemporaryFolder cache;  // where the backend keeps what it has learnt of a printer
  const std::string start = R"(mkfifo "$CUPS_CACHEDIR/f" && exec 3<>"$CUPS_CACHEDIR/f" 4<>"$CUPS_CACHEDIR/f" "$@")";
  return run({.program = "/bin/sh",
              .arguments = {"sh", "-c", start, "sh", BACKEND, "1", "user", "title", "1", "", job},
              .environment = {{"DEVICE_URI", "socket://" + printer.address()},
                              {"PPD", KESTO_PPD},
                              {"CUPS_CACHEDIR", cache.path()},
                              {"PATH", "/usr/bin:/bin"}}});
}

TEST(Snmp, TheSpoolersBackendLearnsOfSuppliesAndPagesAndWaitsForNothing) {
  if (geteuid() != 0) GTEST_SKIP() << "port 161 is for root";
  if (!std::filesystem::exists(BACKEND)) GTEST_SKIP() << "the spooler's backend is not installed";
  PrinterProcess printer({"--level", "black=4", "--level", "cyan=38"});
  const Outcome low = printThroughBackend(printer, KESTO_KEPT_JOBS "/job0");
  EXPECT_EQ(low.status, 0) << low.log;
  EXPECT_LT(low.duration, 2s);
  EXPECT_EQ(low.linesWith("ATTR: marker-colors="), Strings{"ATTR: marker-colors=#00FFFF,#FF00FF,#FFFF00,#000000"});
  EXPECT_EQ(low.linesWith("ATTR: marker-levels=").front(), "ATTR: marker-levels=38,100,100,4");
  EXPECT_EQ(low.linesWith("STATE: +toner"), Strings{"STATE: +toner-low-report"});
  EXPECT_EQ(low.linesWith("PAGE: total"), Strings{"PAGE: total 1"});

  printer.tell("level black=0");
  const TemporaryFolder folder;
  const std::string two = contentOf(KESTO_KEPT_JOBS "/job1") + contentOf(KESTO_KEPT_JOBS "/job0");
  const Outcome empty = printThroughBackend(printer, folder.write("two", two));
  EXPECT_EQ(empty.linesWith("PAGE: total"), Strings{"PAGE: total 2"});
  EXPECT_EQ(empty.linesWith("ATTR: marker-levels=").front(), "ATTR: marker-levels=38,100,100,0");
  EXPECT_EQ(empty.linesWith("STATE: +toner"), Strings{"STATE: +toner-empty-warning"});
}

TEST(Snmp, AnswersRequestsAndNothingElse) {
#define PUBLIC "04 06 70 75 62 6C 69 63 "
#define DESCRIPTION "06 0B 2B 06 01 02 01 19 03 02 01 03 01 "  // hrDeviceDescr.1
#define MISSING "06 0B 2B 06 01 02 01 19 03 02 01 03 02 "
#define DEVICE_ID "06 0F 2B 06 01 04 01 95 0B 01 02 01 02 01 01 03 01 "  // the last object
#define NAME "04 0A 4B 65 73 74 6F 20 50 61 67 65"
  const std::string described =
      "30 33 02 01 00 " PUBLIC "A2 26 02 01 05 02 01 00 02 01 00 30 1B 30 19 " DESCRIPTION NAME;
  const std::pair<std::string, std::string> cases[] = {
      {"30 29 02 01 00 " PUBLIC "A0 1C 02 01 05 02 01 00 02 01 00 30 11 30 0F " DESCRIPTION "05 00", described},
      {"30 82 00 2C 02 01 00 " PUBLIC "A0 81 1E 02 01 05 02 01 00 02 01 00 30 82 00 11 30 0F " DESCRIPTION "05 00",
       described},
      // The next object, hrDeviceID, and of both versions what has no value.
      {"30 29 02 01 01 " PUBLIC "A1 1C 02 01 05 02 01 00 02 01 00 30 11 30 0F " DESCRIPTION "05 00",
       "30 2A 02 01 01 " PUBLIC "A2 1D 02 01 05 02 01 00 02 01 00 30 12 30 10 "
       "06 0B 2B 06 01 02 01 19 03 02 01 04 01 06 01 00"},
      {"30 3A 02 01 00 " PUBLIC "A0 2D 02 01 05 02 01 00 02 01 00 30 22 30 0F " DESCRIPTION "05 00 30 0F " MISSING
       "05 00",
       "30 3A 02 01 00 " PUBLIC "A2 2D 02 01 05 02 01 02 02 01 02 30 22 30 0F " DESCRIPTION "05 00 30 0F " MISSING
       "05 00"},
      {"30 29 02 01 01 " PUBLIC "A0 1C 02 01 05 02 01 00 02 01 00 30 11 30 0F " MISSING "05 00",
       "30 29 02 01 01 " PUBLIC "A2 1C 02 01 05 02 01 00 02 01 00 30 11 30 0F " MISSING "80 00"},
      {"30 2D 02 01 01 " PUBLIC "A1 20 02 01 05 02 01 00 02 01 00 30 15 30 13 " DEVICE_ID "05 00",
       "30 2D 02 01 01 " PUBLIC "A2 20 02 01 05 02 01 00 02 01 00 30 15 30 13 " DEVICE_ID "82 00"},
      // Another version, another community, SetRequest; cut off, too long, indefinite; a name that goes on.
      {"30 29 02 01 03 " PUBLIC "A0 1C 02 01 05 02 01 00 02 01 00 30 11 30 0F " DESCRIPTION "05 00", ""},
      {"30 29 02 01 00 04 06 50 75 62 6C 69 63 A0 1C 02 01 05 02 01 00 02 01 00 30 11 30 0F " DESCRIPTION "05 00", ""},
      {"30 29 02 01 00 " PUBLIC "A3 1C 02 01 05 02 01 00 02 01 00 30 11 30 0F " DESCRIPTION "05 00", ""},
      {"30 29 02 01 00 " PUBLIC "A0 1C 02 01 05 02 01 00 02 01 00 30 11 30 0F " DESCRIPTION "05", ""},
      {"30 29 02 01 00 " PUBLIC "A0 1C 02 01 05 02 01 00 02 01 00 30 11 30 0F " DESCRIPTION "05 00 00", ""},
      {"30 80 02 01 00 " PUBLIC "A0 1C 02 01 05 02 01 00 02 01 00 30 11 30 0F " DESCRIPTION "05 00", ""},
      {"30 1F 02 01 00 " PUBLIC "A0 12 02 01 05 02 01 00 02 01 00 30 07 30 05 06 01 AB 05 00", ""},
  };
  const PrinterProcess printer({"--snmp-port", "16161"});
  const Descriptor socket(openDatagramSocket());
  ASSERT_TRUE(connectDatagramSocket(socket.get(), printer.address().c_str(), 16161, 5s));
  const auto ask = [&socket](const std::string& request) {
    const Bytes bytes = unhex(request);
    ASSERT_EQ(sendDatagram(socket.get(), bytes.data(), bytes.size()), std::ssize(bytes));
  };
  for (const auto& [request, answer] : cases) {
    ask(request);
    if (answer.empty()) ask(cases[0].first);  // answered next: there was nothing before it
    Bytes received(2048);
    const ssize_t size = receiveDatagram(socket.get(), received.data(), received.size());
    ASSERT_GT(size, 0) << request;
    EXPECT_EQ(hex(std::span(received).first(static_cast<std::size_t>(size))), answer.empty() ? described : answer);
  }
}

TEST(Jobs, NeverTakeTheNameOfAFileThatIsThere) {
  const TemporaryFolder folder;
  const std::string kept = folder.write("job-0001.prn", "kept");
  std::filesystem::create_symlink("nowhere", folder.path() + "/job-0002.prn");
  EXPECT_EQ(call({"usb", "-o", folder.path(), "--", "/bin/nothing"}).status, 127);  // and leaves no empty job
  for (const char* text : {"three", "four"}) {
    EXPECT_EQ(call({"usb", "-o", folder.path(), "--", "/bin/echo", text}).status, 0);
  }
  EXPECT_EQ(contentOf(kept), "kept");
  EXPECT_FALSE(std::filesystem::exists(folder.path() + "/nowhere"));
  EXPECT_EQ(contentOf(folder.path() + "/job-0003.prn"), "three\n");
  EXPECT_EQ(contentOf(folder.path() + "/job-0004.prn"), "four\n");
}

TEST(Jobs, AnEndlessOneEndsWithThePrinterAndItsProgram) {
  const TemporaryFolder folder;
  const std::string program = R"(echo $$ > "$0"; exec yes)", note = folder.path() + "/program.pid";
  const Strings arguments = {"kestoprinter", "usb", "-o", folder.path(), "--", "/bin/sh", "-c", program, note};
  Process printer({.program = KESTO_PRINTER, .arguments = arguments, .environment = {{"PATH", "/usr/bin:/bin"}}});
  for (int i = 0; i < 500 && !contentOf(note).ends_with('\n'); ++i) printer.collectFor(10ms);
  const int pid = std::atoi(contentOf(note).c_str());
  ASSERT_GT(pid, 0);
  printer.signal(SIGTERM);
  EXPECT_EQ(printer.finish().status, 128 + SIGTERM);
  EXPECT_NE(kill(pid, 0), 0) << "the program has been left behind";
}

TEST(Program, SaysInOneLineWhatIsWrongWithACall) {
  const std::pair<Strings, std::string> cases[] = {
      {{"--paper", "x"}, "unexpected argument: --paper"},
      {{"--port"}, "--port: needs a value"},
      {{"-p", "1", "-p", "2"}, "--port: may be given once"},
      {{"--port", "65536"}, "--port: takes a number from 1 to 65535"},
      {{"--delay", "0x1"}, "--delay: takes a number from 0 to 3600000"},
      {{"--address", "localhost"}, "--address: takes an IPv4 address"},
      {{"--fault", "none"}, "--fault: takes silent|garbage|truncated|oversized|wrong-id"},
      {{"--level", "black=101"}, "--level: a level is cyan, magenta, yellow or black = 0 to 100, as in black=12"},
      {{"usb"}, "PROGRAM is required"},
  };
  for (const auto& [arguments, reason] : cases) {
    const Outcome outcome = call(arguments);
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.log, "kestoprinter: " + reason + " (see kestoprinter --help)\n");
    EXPECT_TRUE(outcome.output.empty());
  }
  const Outcome version = call({"--version"});
  EXPECT_EQ(version.status, 0);
  EXPECT_EQ(std::string(version.output.begin(), version.output.end()), "kestoprinter " KESTO_VERSION "\n");
}

}  // namespace
}  // namespace kesto::test
