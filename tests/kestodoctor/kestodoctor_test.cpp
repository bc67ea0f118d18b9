// The program that says why a printer does not print, at a private spooler: with everything in order, and with one
// thing broken at a time. Where it names a command, that command has to mend the fault.
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <set>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <signal.h>
#include <unistd.h>

#include "support/file.h"
#include "support/pdf.h"
#include "support/printerprocess.h"
#include "support/spooler.h"

namespace kesto::test {
namespace {

namespace fs = std::filesystem;
using Names = std::set<std::string>;

constexpr char QUEUE[] = "Office";
constexpr char DRIVER[] = "drv:///kesto.drv/kesto.ppd";

/// What the program found: the checks that are wrong and those that are skipped, with their texts.
struct Diagnosis {
  Names wrong{}, skipped{}, queues{};
  std::string what{}, remedy{};  ///< of the first that is wrong
  int status = -1;
};

/// One thing that is broken.
struct Fault {
  const char* name;
  std::function<void()> breakIt;
  Names wrong;       ///< these checks find it, and no others find anything
  const char* what;  ///< a part of the first one's line
  /// A part of its remedy. One that begins with '$' is carried out and has to mend everything.
  const char* remedy;
  std::function<void()> mend = [] {};  ///< besides the remedy, or instead of it
  Names skipped{};                     ///< the checks that are not made
};

/// One spooler with one queue and one printer for all tests.
class Doctor : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    if (!PrivateSpooler::unavailable().empty()) return;
    spooler_ = std::make_unique<PrivateSpooler>(KESTO_FILTER, KESTO_DRIVER);
    printer_ = std::make_unique<PrinterProcess>();
    makeQueue({"-v", printer_->uri(), "-m", DRIVER, "-o", "PageSize=A4", "-o", "printer-error-policy=abort-job"});
  }
  static void TearDownTestSuite() {
    printer_.reset();
    spooler_.reset();
  }
  void SetUp() override {
    if (!spooler_) GTEST_SKIP() << PrivateSpooler::unavailable();
  }

  static void makeQueue(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"-p", QUEUE, "-E"});
    spooler_->client("lpadmin", arguments);
  }
  static Variables environment() {
    Variables variables = {{"PATH", "/usr/sbin:/usr/bin:/sbin:/bin"},
                           {"CUPS_SERVER", spooler_->socketPath()},
                           {"CUPS_SERVERBIN", spooler_->serverBin()}};
    for (const auto& setting : sanitizerSettings()) variables.push_back(setting);
    return variables;
  }
  static Outcome runDoctor(std::vector<std::string> arguments, const Variables& variables = environment()) {
    arguments.insert(arguments.begin(), "kestodoctor");
    return run({.program = KESTO_DOCTOR, .arguments = std::move(arguments), .environment = variables});
  }
  static Diagnosis diagnose(std::vector<std::string> arguments = {QUEUE}, const Variables& variables = environment());
  static void shell(const std::string& command) {
    const Outcome outcome =
        run({.program = "/bin/sh", .arguments = {"sh", "-c", command}, .environment = environment()});
    EXPECT_EQ(outcome.status, 0) << command << ": " << outcome.log;
  }
  static void expectFault(const Fault& fault);

  /// Replaces a file until the test puts it back.
  static void replace(const std::string& file, const std::string& script) {
    fs::rename(file, file + ".away");
    if (script.empty()) return;
    std::ofstream(file) << "#!/bin/sh\n" << script << '\n';
    fs::permissions(file, fs::perms{0755});
  }
  static void putBack(const std::string& file) { fs::rename(file + ".away", file); }

  /// The driver's PPD with one text replaced by another, as the queue's.
  void changePpd(const std::string& text, const std::string& other) {
    std::string ppd = contentOf(KESTO_PPD);
    for (std::size_t at = ppd.find(text); at != std::string::npos; at = ppd.find(text, at + other.size())) {
      ppd.replace(at, text.size(), other);
    }
    makeQueue({"-P", folder_.write("changed.ppd", ppd)});
  }
  void print(const std::string& text, std::vector<std::string> options) {
    options.insert(options.end(), {"-d", QUEUE, folder_.write("page.pdf", text)});
    spooler_->client("lp", options);
  }

  static std::unique_ptr<PrivateSpooler> spooler_;
  static std::unique_ptr<PrinterProcess> printer_;
  TemporaryFolder folder_;
};
std::unique_ptr<PrivateSpooler> Doctor::spooler_;
std::unique_ptr<PrinterProcess> Doctor::printer_;

Diagnosis Doctor::diagnose(std::vector<std::string> arguments, const Variables& variables) {
  arguments.emplace_back("--json");
  const Outcome outcome = runDoctor(arguments, variables);
  Diagnosis diagnosis{.status = outcome.status};
  for (const auto& finding : nlohmann::json::parse(outcome.output)) {
    if (finding.contains("queue")) diagnosis.queues.insert(finding["queue"]);
    if (finding["state"] == "skipped") diagnosis.skipped.insert(finding["check"]);
    if (finding["state"] != "wrong") continue;
    if (diagnosis.wrong.empty()) diagnosis.what = finding["what"], diagnosis.remedy = finding["remedy"];
    diagnosis.wrong.insert(finding["check"]);
  }
  EXPECT_EQ(outcome.log, "");
  return diagnosis;
}

void Doctor::expectFault(const Fault& fault) {
  SCOPED_TRACE(fault.name);
  fault.breakIt();
  const Diagnosis found = diagnose({QUEUE, "--timeout", "2"});
  const bool isCommand = fault.remedy[0] == '$';
  EXPECT_EQ(found.status, 1);
  EXPECT_EQ(found.wrong, fault.wrong) << found.what;
  EXPECT_EQ(found.skipped, fault.skipped);
  EXPECT_NE(found.what.find(fault.what), std::string::npos) << found.what;
  EXPECT_NE(found.remedy.find(fault.remedy + (isCommand ? 1 : 0)), std::string::npos) << found.remedy;
  if (isCommand) shell(found.remedy);
  fault.mend();
  EXPECT_EQ(diagnose().wrong, Names{}) << "the fault is mended";
}

TEST_F(Doctor, FindsNothingWrongWithAHealthyQueueAndLeavesNothing) {
  print(pdfOf(288, 432, {0.5}), {});
  ASSERT_TRUE(spooler_->waitUntilIdle(QUEUE));
  Variables variables = environment();
  variables.emplace_back("TMPDIR", folder_.path());
  const auto filesBefore = std::distance(fs::directory_iterator(folder_.path()), {});
  const Outcome outcome = runDoctor({QUEUE}, variables);
  const std::string text(outcome.output.begin(), outcome.output.end());
  EXPECT_EQ(outcome.status, 0) << text;
  EXPECT_EQ(text.find("wrong"), std::string::npos) << text;
  EXPECT_EQ(text.find("skipped"), std::string::npos) << text;
  const std::string lines[] = {"the queue's PPD is the driver's, version " KESTO_VERSION "\n",
                               "port 9100 of " + printer_->address() + " accepts a connection\n",
                               "the printer answers status requests and reports no error\n",
                               "the filter makes a good job of a test page\n"};
  for (const std::string& line : lines) EXPECT_NE(text.find("ok      " + line), std::string::npos) << line << text;
  EXPECT_NE(text.find(", was printed"), std::string::npos) << text;
  EXPECT_EQ(std::distance(fs::directory_iterator(folder_.path()), {}), filesBefore);
}

TEST_F(Doctor, FindsEachFaultOfTheDriversFiles) {
  const std::string filters = spooler_->serverBin() + "/filter", filter = filters + "/pdftokesto";
  const std::string renderer = filters + "/pdftoraster", driver = spooler_->driverFolder() + "/kesto.drv";
  const std::string backend = spooler_->serverBin() + "/backend/socket", note = folder_.path() + "/renderer.pid";
  const auto modes = [](const std::string& path, unsigned bits) { fs::permissions(path, fs::perms{bits}); };
  const Fault faults[] = {
      {"filter writable", [&] { modes(filter, 0775); }, {"filter"}, "refused", "$chmod 755", [] {}, {"rendering"}},
      {"filter not executable", [&] { modes(filter, 0644); }, {"filter"}, "executable", "$755", [] {}, {"rendering"}},
      {"filter not root's",
       [&] { EXPECT_EQ(chown(filter.c_str(), 1, 0), 0); },
       {"filter"},
       "refused",
       "$chown root",
       [] {},
       {"rendering"}},
      {"filter missing",
       [&] { replace(filter, ""); },
       {"filter"},
       "not there: /",
       "printer-driver-kesto",
       [&] { putBack(filter); },
       {"rendering"}},
      {"folder writable",
       [&] { modes(filters, 0777); },
       {"filter", "renderer"},
       filters.c_str(),
       "$chmod",
       [] {},
       {"rendering"}},
      {"renderer missing",
       [&] { replace(renderer, ""); },
       {"renderer"},
       "not there",
       "cups-filters",
       [&] { putBack(renderer); },
       {"rendering"}},
      {"renderer without output",
       [&] { replace(renderer, "exit 0"); },
       {"rendering"},
       "no page that can be printed",
       "install",
       [&] { putBack(renderer); }},
      {"renderer that hangs",
       [&] { replace(renderer, "echo $$ > " + note + "; exec sleep 100"); },
       {"rendering"},
       "more than 2 seconds",
       "install",
       [&] { putBack(renderer); }},
      {"driver missing",
       [&] { replace(driver, ""); },
       {"driver"},
       DRIVER,
       "printer-driver-kesto",
       [&] { putBack(driver); },
       {"ppd"}},
      {"backend missing",
       [&] { replace(backend, ""); },
       {"backend"},
       "/backend/socket",
       "cups-daemon",
       [&] { putBack(backend); }},
      {"older PPD",
       [&] { changePpd("*FileVersion: \"" KESTO_VERSION, "*FileVersion: \"0.0.1"); },
       {"ppd"},
       "version 0.0",
       "$lpadmin -p Office -m drv:"},
      {"PPD without an option", [&] { changePpd("TonerSave", "TonerWaste"); }, {"ppd"}, "both", "$lpadmin"},
      {"another driver's PPD",
       [&] { changePpd("Kesto Contone Color", "Other Color"); },
       {"ppd"},
       "another driver: \"Other",
       "$lpadmin"},
      {"a filter that the spooler has refused",
       [&] {
         modes(filter, 0777);
         changePpd("TonerSave", "TonerWaste");
         modes(filter, 0755);
       },
       {"reasons", "ppd"},
       "cups-insecure-filter-warning",
       "$lpadmin"},
  };
  for (const Fault& fault : faults) expectFault(fault);
  int pid = 0;
  std::ifstream(note) >> pid;
  ASSERT_GT(pid, 0);
  EXPECT_NE(kill(pid, 0), 0) << "the renderer that hung has been left behind";
}

TEST_F(Doctor, FindsEachFaultOfTheQueueAndItsJobs) {
  const Names onQueue = {"enabled", "accepting",  "reasons", "ppd",     "device",
                         "backend", "connection", "status",  "waiting", "lastjob"};
  const auto setDevice = [](const std::string& uri) { makeQueue({"-v", uri}); };
  const auto mendDevice = [&] { setDevice(printer_->uri()); };
  const auto cancelAll = [] { spooler_->client("cancel", {"-a", QUEUE}); };
  const std::string page = pdfOf(288, 432, {0.5}), elsewhere = "socket://" + ownAddress(7);
  const std::string filter = spooler_->serverBin() + "/filter/pdftokesto";
  const Fault faults[] = {
      {"stopped",
       [] {
         spooler_->client("cupsdisable", {"-r", "Out of\ttoner", QUEUE});
       },
       {"enabled"},
       "stopped: \"Out of toner\"",
       "$cupsenable Office"},
      {"rejecting", [] { spooler_->client("cupsreject", {QUEUE}); }, {"accepting"}, "rejects", "$cupsaccept Office"},
      {"held job",
       [&] {
         print(page, {"-H", "hold"});
       },
       {"waiting"},
       " is held",
       "$lp -i Office-",
       [] { EXPECT_TRUE(spooler_->waitUntilIdle(QUEUE)); }},
      {"job that the filter has failed on",
       [&] {
         replace(filter, "exit 1");
         print(page, {});
         EXPECT_TRUE(spooler_->waitForLog("stopped due to filter errors"));
         putBack(filter);
       },
       {"waiting"},
       "has been stopped: \"Filter failed\"",
       "$lp -i Office-",
       [] { EXPECT_TRUE(spooler_->waitUntilIdle(QUEUE)); }},
      {"document without pages",
       [&] {
         print("%PDF-1.4\nthis is no document", {"-o", "document-format=application/vnd.cups-pdf"});
         EXPECT_TRUE(spooler_->waitUntilIdle(QUEUE));
       },
       {"lastjob"},
       "not printed whole: \"The document has no page that can be printed",
       "another document",
       [&] {
         print(page, {});
         EXPECT_TRUE(spooler_->waitUntilIdle(QUEUE));
       }},
      {"no queue",
       [] {
         spooler_->client("lpadmin", {"-x", QUEUE});
       },
       {"queue"},
       "no queue \"Office\"",
       "lpadmin -p Office -v",
       [&] {
         makeQueue({"-v", printer_->uri(), "-m", DRIVER});
       },
       onQueue},
      {"device that keeps nothing",
       [&] { setDevice("file:///dev/null"); },
       {"device"},
       "throws every job away",
       "lpadmin -p Office -v DEVICE-URI",
       mendDevice,
       {"backend", "connection", "status"}},
      {"nobody at the port",
       [&] { setDevice(elsewhere); },
       {"connection", "status"},
       "Connection refused",
       "ping 127.",
       mendDevice},
      {"unknown name",
       [&] { setDevice("lpd://printer.invalid/queue"); },
       {"connection"},
       "does not know the name printer.invalid",
       "ADDRESS-OF-THE-PRINTER",
       mendDevice,
       {"status"}},
      {"not plugged in",
       [&] { setDevice("usb://Kesto/Other"); },
       {"connection"},
       "not found on USB; there is usb://Kesto/Page",
       "plug it in",
       mendDevice,
       {"status"}},
      {"spooler that hangs",
       [] { spooler_->signal(SIGSTOP); },
       {"spooler"},
       "does not answer at /",
       "systemctl",
       [] { spooler_->signal(SIGCONT); },
       [&] {
         Names all = onQueue;
         all.insert({"driver", "queue"});
         return all;
       }()},
  };
  for (const Fault& fault : faults) {
    expectFault(fault);
    cancelAll();
  }
}

TEST_F(Doctor, HearsWhatThePrinterSaysAndWhenItSaysNothing) {
  const auto alert = [](const char* line) {
    printer_->tell(line);
    usleep(200'000);  // the printer reads its commands between two requests
  };
  expectFault({"alert",
               [&] { alert("alert error \"Paper jam\""); },
               {"status"},
               "reports \"Paper jam\"",
               "at the printer",
               [&] { alert("clear"); }});
  const std::pair<const char*, const char*> manners[] = {
      {"silent", "does not answer"}, {"wrong-id", "answers nonsense"}, {"garbage", "answers nonsense"}};
  int number = 0;
  for (const auto& [manner, what] : manners) {
    PrinterProcess printer({"--fault", manner}, ++number);
    expectFault({manner,
                 [&] {
                   makeQueue({"-v", printer.uri()});
                 },
                 {"status"},
                 what,
                 "let that port through",
                 [] {
                   makeQueue({"-v", printer_->uri()});
                 }});
  }
}

TEST_F(Doctor, LooksAtTheQueueThatIsMeantOnTheServerThatIsMeant) {
  const std::string odd = "Odd$(id)";
  makeQueue({});
  spooler_->client("lpadmin", {"-p", odd, "-v", printer_->uri(), "-m", DRIVER, "-E"});
  spooler_->client("lpadmin", {"-p", "Other", "-v", "file:///dev/null", "-E"});
  EXPECT_EQ(diagnose({}).queues, (Names{QUEUE, odd}));
  spooler_->client("lpadmin", {"-d", "Other"});  // which is not ours to judge
  EXPECT_EQ(diagnose({}).queues, (Names{QUEUE, odd}));
  spooler_->client("lpadmin", {"-d", QUEUE});
  EXPECT_EQ(diagnose({}).queues, Names{QUEUE});

  spooler_->client("cupsdisable", {odd});
  Variables variables = environment();
  std::erase_if(variables, [](const auto& variable) { return variable.first == "CUPS_SERVER"; });
  const std::vector<std::string> call = {"-h", spooler_->socketPath(), odd};
  const Diagnosis found = diagnose(call, variables);
  EXPECT_EQ(found.wrong, Names{"enabled"});
  EXPECT_TRUE(found.remedy.starts_with("cupsenable -h /")) << found.remedy;
  shell("unset CUPS_SERVER; " + found.remedy);
  EXPECT_EQ(diagnose(call, variables).wrong, Names{}) << "the command is for the shell to read";
  for (const std::string& queue : {odd, std::string("Other")}) spooler_->client("lpadmin", {"-x", queue});
}

TEST_F(Doctor, AWrongCallGetsOneLine) {
  const std::vector<std::string> calls[] = {{"--bogus"}, {"a", "b"}, {"--timeout", "0"}, {"--timeout", "soon"}, {"-h"}};
  for (const auto& call : calls) {
    const Outcome outcome = runDoctor(call);
    EXPECT_EQ(outcome.status, 2) << call.front();
    EXPECT_TRUE(outcome.log.starts_with("kestodoctor: ")) << outcome.log;
    EXPECT_EQ(std::ranges::count(outcome.log, '\n'), 1) << outcome.log;
  }
}

}  // namespace
}  // namespace kesto::test
