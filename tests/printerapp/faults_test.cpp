// What the printer application does when something goes wrong: printers that are away, filters that are killed,
// restarts, and many clients.
#include <atomic>
#include <csignal>
#include <filesystem>
#include <thread>

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include "printerapp/documents.h"
#include "printerapp/printerapp.h"
#include "support/file.h"
#include "support/jobparser.h"
#include "support/pdf.h"
#include "support/printerprocess.h"

namespace kesto::test {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using Clock = std::chrono::steady_clock;

constexpr char PDF[] = "application/pdf", PWG[] = "image/pwg-raster", REASONS[] = "printer-state-reasons";

std::string greyPdf(std::size_t pages) {
  return pdfOf(288, 432, std::vector<double>(pages, 0.5));
}

/// A printer that reads nothing, and that nobody more can connect to once it is `full`.
class DeafPrinter {
 public:
  DeafPrinter(const std::string& name, bool full) : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    int small = 2048;
    setsockopt(socket_, SOL_SOCKET, SO_RCVBUF, &small, sizeof small);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(9100);
    inet_pton(AF_INET, name.c_str(), &address.sin_addr);
    const auto* const where = reinterpret_cast<const sockaddr*>(&address);
    if (bind(socket_, where, sizeof address) != 0 || listen(socket_, 0) != 0) throw std::runtime_error("no socket");
    // A backlog of 0 has room for one: whoever comes after it hears nothing.
    for (int& client : clients_) {
      if (!full) continue;
      client = ::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
      static_cast<void>(connect(client, where, sizeof address));
    }
  }
  DeafPrinter(const DeafPrinter&) = delete;
  DeafPrinter& operator=(const DeafPrinter&) = delete;
  ~DeafPrinter() {
    close(socket_);
    for (const int client : clients_) {
      if (client >= 0) close(client);
    }
  }

 private:
  int socket_;
  int clients_[2] = {-1, -1};
};

TEST(Faults, APrinterThatIsNotThereIsReportedAtOnceAndItsJobsCanBeCancelled) {
  struct Case {
    const char* name;
    std::size_t pages;
    const char *message, *reason;
    int job = 0;
  };
  Case cases[] = {{"Refusing", 1, "cannot be reached", "offline"},
                  {"Silent", 1, "cannot be reached", "offline"},
                  {"Stalled", 15, "takes no more data", "other"}};
  const DeafPrinter silent(ownAddress(1), true), stalled(ownAddress(2), false);
  PrinterApp app;
  for (Case& c : cases) {
    app.addPrinter(c.name, "socket://" + ownAddress(static_cast<int>(&c - cases)));
    c.job = app.submit(c.name, greyPdf(c.pages), PDF);
    const Clock::time_point asked = Clock::now();
    EXPECT_FALSE(app.valuesOf(c.name, REASONS).empty());
    EXPECT_LT(Clock::now() - asked, seconds(2)) << "a printer that is being connected to answers its clients";
  }
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_NE(app.waitFor(c.name, c.job, c.message).message.find(c.message), std::string::npos);
    EXPECT_EQ(app.valuesOf(c.name, REASONS), c.reason);
    const Clock::time_point cancelled = Clock::now();
    app.cancel(c.name, c.job);
    EXPECT_EQ(app.waitFor(c.name, c.job).state, IPP_JSTATE_CANCELED);
    EXPECT_LT(Clock::now() - cancelled, seconds(10));
    EXPECT_EQ(app.valuesOf(c.name, REASONS), "none");
  }
  EXPECT_EQ(app.leftovers(), std::vector<std::string>());
}

TEST(Faults, AlertsAreShownBetweenJobsWhileTheyLast) {
  PrinterApp app;
  auto printer = std::make_unique<PrinterProcess>(std::vector<std::string>{"--error", "Put paper into tray 2"});
  app.addPrinter("Office", "socket://" + printer->address());
  const auto waitForReasons = [&](const std::string& reasons) {
    for (int i = 0; i < 300 && app.valuesOf("Office", REASONS) != reasons; ++i) {
      std::this_thread::sleep_for(milliseconds(100));
    }
    return app.valuesOf("Office", REASONS);
  };
  EXPECT_EQ(waitForReasons("other"), "other");
  EXPECT_EQ(app.valuesOf("Office", "printer-alert-description"), "Put paper into tray 2");
  printer.reset();
  printer = std::make_unique<PrinterProcess>();
  EXPECT_EQ(waitForReasons("none"), "none");
  EXPECT_EQ(app.valuesOf("Office", "printer-alert-description"), "");
}

TEST(Faults, AJobWhosePrinterGoesAwayIsPrintedWholeAndSaysSo) {
  PrinterApp app;
  app.addPrinter("Office", "socket://" + ownAddress());
  auto printer = std::make_unique<PrinterProcess>(std::vector<std::string>{"--close-after", "2000"});
  const int job = app.submit("Office", greyPdf(12), PDF);
  EXPECT_NE(app.waitFor("Office", job, "begins anew").message.find("begins anew"), std::string::npos);
  printer.reset();
  printer = std::make_unique<PrinterProcess>();
  const JobEnd end = app.waitFor("Office", job);
  EXPECT_EQ(end.state, IPP_JSTATE_COMPLETED);
  EXPECT_NE(end.message.find("begun anew"), std::string::npos) << end.message;
  EXPECT_EQ(parseJob(printer->job(1)).pages.size(), 12U);
}

TEST(Faults, FiltersThatFailEndTheirJobAloneWithItsReason) {
  struct Case {
    const char *name, *script, *message;
  };
  const Case cases[] = {
      {"killed", "#!/bin/sh\nkill -9 $$\n", "ended by signal Killed"},
      {"cannot be run", "#!/no/such/program\n", "cannot be started"},
      {"fails", "#!/bin/sh\necho 'ERROR: no more ink' >&2\nexit 1\n", "no more ink"},
      {"does not end", "#!/bin/sh\nexec sleep 1000 >&-\n", "ended by signal Killed"},
      {"a line without end", "#!/bin/sh\nhead -c 3000000 /dev/zero | tr '\\0' x >&2\nexit 1\n", "ended with status 1"},
  };
  PrinterApp app;
  PrinterProcess printer;
  app.addPrinter("Office", "socket://" + printer.address());
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    app.replaceFilter("pdftokesto", c.script);
    const JobEnd end = app.print("Office", greyPdf(2), PDF);
    EXPECT_EQ(end.state, IPP_JSTATE_ABORTED);
    EXPECT_NE(end.message.find(c.message), std::string::npos) << end.message;
  }
  app.replaceFilter("pdftokesto", "#!/bin/sh\ntrap '' TERM\nwhile :; do echo 'DEBUG: more' >&2; done\n");
  const int endless = app.submit("Office", greyPdf(1), PDF);
  app.cancel("Office", endless);
  EXPECT_EQ(app.waitFor("Office", endless).state, IPP_JSTATE_CANCELED);
  app.replaceFilter("pdftokesto", "#!/bin/sh\nexec " KESTO_FILTER " \"$@\"\n");
  EXPECT_EQ(app.print("Office", greyPdf(1), PDF).state, IPP_JSTATE_COMPLETED);
  EXPECT_EQ(app.leftovers(), std::vector<std::string>());
}

TEST(Faults, JobsArePrintedInOrderAfterTheApplicationWasEnded) {
  struct Case {
    int signal;
    bool connected;
    const char *before, *after;
  };
  for (const Case& c : {Case{SIGKILL, true, "takes no more data", "begun anew"},
                        Case{SIGTERM, false, "cannot be reached", "Printed."}}) {
    SCOPED_TRACE(c.signal);
    auto deaf = c.connected ? std::make_unique<DeafPrinter>(ownAddress(), false) : nullptr;
    PrinterApp app;
    app.addPrinter("Office", "socket://" + ownAddress());
    std::vector<int> jobs;
    for (const std::size_t pages : {15, 1, 2}) jobs.push_back(app.submit("Office", greyPdf(pages), PDF));
    app.waitFor("Office", jobs.front(), c.before);
    EXPECT_TRUE(app.remembers(jobs.back()));
    app.restart(c.signal);
    deaf.reset();
    PrinterProcess printer;
    const JobEnd first = app.waitFor("Office", jobs[0]);
    EXPECT_NE(first.message.find(c.after), std::string::npos) << first.message;
    EXPECT_EQ(app.waitFor("Office", jobs[2]).message, "Printed.");
    EXPECT_EQ(parseJob(printer.job(1)).pages.size(), 15U);
    EXPECT_EQ(parseJob(printer.job(2)).pages.size(), 1U);
    EXPECT_EQ(parseJob(printer.job(3)).pages.size(), 2U);
    EXPECT_EQ(app.leftovers(), std::vector<std::string>());
  }
}

TEST(Faults, ManyClientsGetEachJobPrintedOnce) {
  constexpr int CLIENTS = 4, JOBS = 6;
  PrinterApp app;
  PrinterProcess first({}, 0), second({}, 1);
  app.addPrinter("First", "socket://" + first.address());
  app.addPrinter("Second", "socket://" + second.address());
  std::atomic<int> printed{0};
  const auto send = [&](int client) {
    for (int job = 0; job < JOBS; ++job) {
      const std::string printer = (client + job) % 2 == 0 ? "First" : "Second";
      const bool raster = job % 3 == 2;
      const int id = app.submit(printer, raster ? rasterOf({}) : greyPdf(1), raster ? PWG : PDF);
      if (app.waitFor(printer, id).state == IPP_JSTATE_COMPLETED) ++printed;
    }
  };
  std::vector<std::thread> clients;
  clients.reserve(CLIENTS);
  for (int client = 0; client < CLIENTS; ++client) clients.emplace_back(send, client);
  for (std::thread& client : clients) client.join();
  EXPECT_EQ(printed, CLIENTS * JOBS);
  for (PrinterProcess* const printer : {&first, &second}) {
    for (int job = 1; job <= CLIENTS * JOBS / 2; ++job) EXPECT_EQ(parseJob(printer->job(job)).pages.size(), 1U);
  }
  EXPECT_EQ(app.leftovers(), std::vector<std::string>());
}

}  // namespace
}  // namespace kesto::test
