#include "printerapp/printerapp.h"

#include <filesystem>
#include <stdexcept>
#include <thread>

#include <arpa/inet.h>
#include <unistd.h>

#include "support/file.h"

namespace kesto::test {
namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;

constexpr char LOOPBACK[] = "127.0.0.1";

/// PAPPL has locks, takes them in several orders, and is not built to be watched: only our own part is looked at.
const std::string SANITIZER_SETTINGS = "detect_deadlocks=0:ignore_noninstrumented_modules=1:log_path=";

/// A port that nobody listens on now.
int freePort() {
  const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = inet_addr(LOOPBACK);
  socklen_t size = sizeof address;
  const bool bound = bind(socket, reinterpret_cast<const sockaddr*>(&address), size) == 0 &&
                     getsockname(socket, reinterpret_cast<sockaddr*>(&address), &size) == 0;
  close(socket);
  if (!bound) throw std::runtime_error("no free port");
  return ntohs(address.sin_port);
}

using Connection = std::unique_ptr<http_t, decltype(&httpClose)>;

Connection connectTo(int port) {
  return {httpConnect2(LOOPBACK, port, nullptr, AF_INET, HTTP_ENCRYPTION_IF_REQUESTED, 1, 30000, nullptr), httpClose};
}

std::string textOf(ipp_t* answer, const char* name) {
  ipp_attribute_t* const found = ippFindAttribute(answer, name, IPP_TAG_ZERO);
  const char* const text = found != nullptr ? ippGetString(found, 0, nullptr) : nullptr;
  return text != nullptr ? text : "";
}

int numberOf(ipp_t* answer, const char* name) {
  ipp_attribute_t* const found = ippFindAttribute(answer, name, IPP_TAG_ZERO);
  return found != nullptr ? ippGetInteger(found, 0) : 0;
}

}  // namespace

PrinterApp::PrinterApp() : port_(freePort()) {
  for (const char* name : {"data", "bin/filter", "spool"}) fs::create_directories(folder_.path() + "/" + name);
  fs::create_symlink(KESTO_PPD, folder_.path() + "/data/kesto.ppd");
  fs::create_symlink(KESTO_EXAMPLES "/sample.pdf", folder_.path() + "/data/testpage.pdf");
  const fs::path filters = folder_.path() + "/bin/filter";
  for (const char* name : {"pdftopdf", "pdftoraster", "imagetopdf"}) {
    fs::create_symlink(fs::path("/usr/lib/cups/filter") / name, filters / name);
  }
  fs::create_symlink(KESTO_FILTER, filters / "pdftokesto");
  fs::create_symlink(KESTO_RASTER_FILTER, filters / "rastertokesto");
  start();
}

void PrinterApp::start() {
  process_ = std::make_unique<Process>(command());
  for (int i = 0; i < 200; ++i) {
    if (connectTo(port_)) return;
    std::this_thread::sleep_for(milliseconds(50));
  }
  throw std::runtime_error("the application does not answer: " + log());
}

Command PrinterApp::command() const {
  const std::string folder = folder_.path();
  Command command{.program = KESTO_PRINTER_APP,
                  .arguments = {"kesto-printer-app", "server", "-o", "server-port=" + std::to_string(port_), "-o",
                                "spool-directory=" + folder + "/spool", "-o", "log-file=" + folder + "/log", "-o",
                                "log-level=debug"},
                  .environment = {{"PATH", "/usr/bin:/bin"},
                                  {"HOME", folder},
                                  {"TMPDIR", folder},  // where the socket for its own command line is
                                  {"KESTO_DATA_FOLDER", folder + "/data"},
                                  {"CUPS_SERVERBIN", folder + "/bin"},
                                  {"TSAN_OPTIONS", SANITIZER_SETTINGS + folder + "/report"}},
                  .timeout = std::chrono::minutes(10)};
  for (const auto& setting : sanitizerSettings()) command.environment.push_back(setting);
  return command;
}

std::string PrinterApp::uri(const std::string& printer) const {
  return std::string("ipp://") + LOOPBACK + ":" + std::to_string(port_) + "/ipp/print/" + printer;
}

std::unique_ptr<ipp_t, decltype(&ippDelete)> PrinterApp::ask(ipp_t* request, const std::string& resource,
                                                             const std::string& file) {
  const std::unique_ptr<ipp_t, decltype(&ippDelete)> kept(request, ippDelete);
  for (int i = 0;; ++i) {
    ipp_t* const copy = ippNew();  // the library deletes what it sends
    ippSetOperation(copy, ippGetOperation(request));
    ippSetRequestId(copy, ippGetRequestId(request));
    ippCopyAttributes(copy, request, 0, nullptr, nullptr);
    const Connection connection = connectTo(port_);
    if (!connection) throw std::runtime_error("the application is gone");
    std::unique_ptr<ipp_t, decltype(&ippDelete)> answer(
        cupsDoFileRequest(connection.get(), copy, resource.c_str(), file.empty() ? nullptr : file.c_str()), ippDelete);
    if (cupsLastError() != IPP_STATUS_ERROR_BUSY || i == 200) return answer;
    std::this_thread::sleep_for(milliseconds(100));
  }
}

void PrinterApp::addPrinter(const std::string& name, const std::string& deviceUri) {
  ipp_t* const request = ippNewRequest(IPP_OP_CREATE_PRINTER);
  const std::string system = std::string("ipp://") + LOOPBACK + "/ipp/system";
  ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_URI, "system-uri", nullptr, system.c_str());
  ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_NAME, "requesting-user-name", nullptr, "tester");
  ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_KEYWORD, "printer-service-type", nullptr, "print");
  ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_KEYWORD, "smi55357-driver", nullptr, "kesto");
  ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_URI, "smi55357-device-uri", nullptr, deviceUri.c_str());
  ippAddString(request, IPP_TAG_PRINTER, IPP_TAG_NAME, "printer-name", nullptr, name.c_str());
  const auto answer = ask(request, "/ipp/system");
  if (cupsLastError() > IPP_STATUS_OK_EVENTS_COMPLETE) throw std::runtime_error(cupsLastErrorString());
}

ipp_t* PrinterApp::printRequest(const std::string& printer, const std::string& type, const std::string& title) const {
  ipp_t* const request = ippNewRequest(IPP_OP_PRINT_JOB);
  ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_URI, "printer-uri", nullptr, uri(printer).c_str());
  ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_NAME, "requesting-user-name", nullptr, "tester");
  ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_NAME, "job-name", nullptr, title.c_str());
  if (!type.empty()) {
    ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_MIMETYPE, "document-format", nullptr, type.c_str());
  }
  return request;
}

JobEnd PrinterApp::print(const std::string& printer, const std::string& document, const std::string& type,
                         const Wishes& wishes) {
  ipp_t* const request = printRequest(printer, type, "A title");
  cups_option_t* options = nullptr;
  int count = 0;
  for (const auto& [name, value] : wishes) count = cupsAddOption(name.c_str(), value.c_str(), count, &options);
  cupsEncodeOptions2(request, count, options, IPP_TAG_JOB);
  cupsFreeOptions(count, options);
  return print(printer, request, document);
}

JobEnd PrinterApp::print(const std::string& printer, ipp_t* request, const std::string& document) {
  const auto answer = ask(request, "/ipp/print/" + printer, folder_.write("document", document));
  const int job = answer ? numberOf(answer.get(), "job-id") : 0;
  if (job == 0) return {.id = 0, .state = IPP_JSTATE_ABORTED, .message = cupsLastErrorString()};
  return waitFor(printer, job);
}

std::unique_ptr<ipp_t, decltype(&ippDelete)> PrinterApp::askFor(ipp_op_t operation, const std::string& printer,
                                                                int job) {
  ipp_t* const request = ippNewRequest(operation);
  ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_URI, "printer-uri", nullptr, uri(printer).c_str());
  if (job != 0) ippAddInteger(request, IPP_TAG_OPERATION, IPP_TAG_INTEGER, "job-id", job);
  ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_NAME, "requesting-user-name", nullptr, "tester");
  return ask(request, "/ipp/print/" + printer);
}

int PrinterApp::submit(const std::string& printer, const std::string& document, const std::string& type) {
  const TemporaryFolder folder;
  const auto answer =
      ask(printRequest(printer, type, "A title"), "/ipp/print/" + printer, folder.write("document", document));
  return numberOf(answer.get(), "job-id");
}

JobEnd PrinterApp::waitFor(const std::string& printer, int job, const std::string& text) {
  JobEnd end{.id = job, .state = IPP_JSTATE_PENDING, .message = ""};
  const auto said = [&] { return !text.empty() && end.message.find(text) != std::string::npos; };
  for (int i = 0; i < 1200 && end.state < IPP_JSTATE_CANCELED && !said(); ++i) {
    std::this_thread::sleep_for(milliseconds(50));
    const auto answer = askFor(IPP_OP_GET_JOB_ATTRIBUTES, printer, job);
    end.state = static_cast<ipp_jstate_t>(numberOf(answer.get(), "job-state"));
    end.message = textOf(answer.get(), "job-state-message");
  }
  return end;
}

void PrinterApp::cancel(const std::string& printer, int job) {
  askFor(IPP_OP_CANCEL_JOB, printer, job);
}

std::string PrinterApp::valuesOf(const std::string& printer, const std::string& name) {
  const auto answer = askFor(IPP_OP_GET_PRINTER_ATTRIBUTES, printer);
  std::string text;
  ipp_attribute_t* const found = ippFindAttribute(answer.get(), name.c_str(), IPP_TAG_ZERO);
  for (int i = 0; i < ippGetCount(found); ++i) {
    if (i > 0) text += ',';
    text += ippGetString(found, i, nullptr);
  }
  return text;
}

void PrinterApp::restart(int signal) {
  process_->signal(signal);
  process_->finish();
  start();
}

bool PrinterApp::remembers(int job) const {
  const std::string line = " id=\"" + std::to_string(job) + "\" ";
  for (int i = 0; i < 100; ++i) {
    if (contentOf<std::string>(folder_.path() + "/spool/printers.state").find(line) != std::string::npos) return true;
    std::this_thread::sleep_for(milliseconds(20));
  }
  return false;
}

void PrinterApp::replaceFilter(const std::string& name, const std::string& script) {
  const fs::path path = folder_.path() + "/bin/filter/" + name;
  fs::remove(path);
  fs::rename(folder_.write("script", script), path);
  fs::permissions(path, fs::perms::owner_all);
}

std::vector<std::string> PrinterApp::leftovers() const {
  std::vector<std::string> found = remains();
  // PAPPL removes a ticket that was written while its job ended when it writes the next time: after a client has come.
  for (int i = 0; i < 30 && !found.empty(); ++i, found = remains()) {
    connectTo(port_);
    std::this_thread::sleep_for(milliseconds(100));
  }
  return found;
}

std::vector<std::string> PrinterApp::remains() const {
  std::vector<std::string> found;
  for (const auto& entry : fs::recursive_directory_iterator(folder_.path() + "/spool")) {
    const std::string name = entry.path().filename();
    if (!name.starts_with("printers.state") && !entry.is_directory()) found.push_back(name);
  }
  for (const auto& entry : fs::directory_iterator(folder_.path())) {
    if (entry.path().filename().string().starts_with("report")) found.push_back(contentOf<std::string>(entry.path()));
  }
  for (const auto& task : fs::directory_iterator("/proc/" + std::to_string(process_->pid()) + "/task")) {
    const auto children = contentOf<std::string>(task.path() / "children");
    if (!children.empty()) found.push_back("process " + children);
  }
  return found;
}

std::string PrinterApp::log() const {
  return contentOf(folder_.path() + "/log");
}

}  // namespace kesto::test
