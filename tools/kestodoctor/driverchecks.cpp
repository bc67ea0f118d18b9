// The driver's files as the spooler uses them, the queue's PPD beside the driver's, and a page through the filter.
#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <set>
#include <system_error>

#include <sys/stat.h>

#include "kestodoctor/checks.h"
#include "kestodoctor/testpage.h"

namespace kesto::doctor {
namespace {

constexpr char INSTALL_DRIVER[] = "apt-get install --reinstall printer-driver-kesto";
constexpr char INSTALL_RENDERER[] = "apt-get install --reinstall cups-filters";
constexpr char INSTALL_BACKEND[] = "apt-get install --reinstall cups-daemon";

/// A program of the spooler: what it is for a person, who has to be able to execute it, and where it comes from.
struct Program {
  const char* what;
  mode_t executable;
  const char* install;
};

/// What the spooler holds against a program, or the folder that it is in.
bool isInsecure(const struct stat& status) {
  return status.st_uid != 0 || (status.st_mode & (S_ISUID | S_IWGRP | S_IWOTH)) != 0;
}

std::string mendModes(const std::string& path) {
  const std::string word = shellWord(path);
  return "chown root " + word + " && chmod 755 " + word;
}

/// Looks as the spooler does, which follows links, and asks nothing of the folders further up.
Finding checkProgram(const std::string& path, const Program& program) {
  const std::string name = std::string(program.what) + " is ";
  struct stat file = {}, folder = {};
  const std::string folderPath = path.substr(0, path.rfind('/'));
  if (stat(path.c_str(), &file) != 0 || stat(folderPath.c_str(), &folder) != 0) {
    if (errno == EACCES)
      return skipped(std::string(program.what) + ": " + plain(path) + " is closed to us; ask as root");
    if (errno != ENOENT && errno != ENOTDIR) {
      return wrong(name + "not readable: " + plain(path) + ": " + std::generic_category().message(errno),
                   program.install);
    }
    return wrong(name + "not there: " + plain(path), program.install);
  }
  if (!S_ISREG(file.st_mode)) return wrong(name + "no file: " + plain(path), program.install);
  if (isInsecure(folder)) {
    return wrong(name + "in a folder that others than root can change: " + plain(folderPath), mendModes(folderPath));
  }
  if (isInsecure(file)) {
    return wrong(name + "refused by the spooler, as others than root can change it: " + plain(path), mendModes(path));
  }
  if ((file.st_mode & program.executable) == 0) {
    return wrong(name + "not executable for the spooler: " + plain(path), mendModes(path));
  }
  return good(name + "in place: " + plain(path));
}

/// What a PPD says behind a keyword, without its quotation marks.
std::string valueOf(const std::string& ppd, const std::string& keyword) {
  const std::string start = "\n*" + keyword + ": \"";
  const std::size_t at = ppd.find(start);
  if (at == std::string::npos) return "";
  const std::size_t from = at + start.size();
  return ppd.substr(from, ppd.find_first_of("\"\n", from) - from);
}

/// The statements of a PPD that the driver makes and nobody chooses; what a queue has as its defaults is left out.
std::set<std::string> statementsOf(const std::string& ppd) {
  std::set<std::string> statements;
  for (std::size_t from = 0; from < ppd.size();) {
    const std::size_t end = std::min(ppd.find('\n', from), ppd.size());
    const std::string line = ppd.substr(from, end - from);
    if (line.starts_with('*') && !line.starts_with("*Default") && !line.starts_with("*%")) statements.insert(line);
    from = end + 1;
  }
  return statements;
}

bool holdsAll(const std::set<std::string>& all, const std::set<std::string>& wanted) {
  return std::includes(all.begin(), all.end(), wanted.begin(), wanted.end());
}

/// Where the spooler's programs are; the filter looks for its renderer there as well.
std::string serverBin() {
  const char* folder = std::getenv("CUPS_SERVERBIN");  // NOLINT(concurrency-mt-unsafe): one thread
  return folder != nullptr ? folder : "/usr/lib/cups";
}

}  // namespace

Finding checkDriver(Examination& examination) {
  examination.driverPpd = examination.spooler.driverPpd(DRIVER);
  if (examination.driverPpd) {
    return good("the spooler has the driver, version " + plain(valueOf(*examination.driverPpd, "FileVersion")));
  }
  return wrong(std::string("the spooler does not have the driver ") + DRIVER, INSTALL_DRIVER);
}

Finding checkFilter(Examination&) {
  return checkProgram(serverBin() + "/filter/pdftokesto", {"the filter", S_IXOTH, INSTALL_DRIVER});
}

Finding checkRenderer(Examination&) {
  return checkProgram(serverBin() + "/filter/pdftoraster", {"the renderer", S_IXOTH, INSTALL_RENDERER});
}

Finding checkBackend(Examination& examination) {
  if (examination.device.scheme == "file") return good("the spooler writes to the file itself");
  // A backend that is root's alone runs as root.
  return checkProgram(serverBin() + "/backend/" + examination.device.scheme, {"the backend", S_IXUSR, INSTALL_BACKEND});
}

Finding checkPpd(Examination& examination) {
  const std::string mend =
      examination.command("lpadmin", "-p " + examination.queueWord() + " -m " + std::string(DRIVER));
  examination.queuePpd = examination.spooler.queuePpd(examination.queueName);
  if (!examination.queuePpd) return wrong("the queue has no PPD, so it does not use this driver", mend);
  const std::string &ours = *examination.driverPpd, &its = *examination.queuePpd;
  if (valueOf(its, "NickName") != valueOf(ours, "NickName")) {
    return wrong("the queue uses another driver: " + inQuotes(valueOf(its, "NickName")), mend);
  }
  const std::string version = plain(valueOf(its, "FileVersion"));
  if (version != plain(valueOf(ours, "FileVersion"))) {
    return wrong(
        "the queue's PPD is of version " + version + ", the driver of version " + plain(valueOf(ours, "FileVersion")),
        mend);
  }
  if (!holdsAll(statementsOf(its), statementsOf(ours))) {
    return wrong("the queue's PPD is not the driver's, though both are of version " + version, mend);
  }
  return good("the queue's PPD is the driver's, version " + version);
}

/// A filter that others can change is not run here either: the caller may be root.
Finding checkRendering(Examination& examination) {
  const auto& ppd = examination.queuePpd ? examination.queuePpd : examination.driverPpd;
  const std::string trouble = printTestPage({.serverBin = serverBin(),
                                             .queue = examination.queueName.empty() ? "test" : examination.queueName,
                                             .ppd = ppd,
                                             .time = examination.call.pageTime});
  if (trouble.empty()) return good("the filter makes a good job of a test page");
  return wrong("the filter does not print a test page: " + trouble,
               "apt-get install --reinstall printer-driver-kesto cups-filters");
}

}  // namespace kesto::doctor
