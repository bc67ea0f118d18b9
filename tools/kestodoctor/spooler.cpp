#include "kestodoctor/spooler.h"

#include <array>

namespace kesto::doctor {
namespace {

constexpr int CONNECT_MS = 5000;
constexpr double ANSWER_SECONDS = 5.0;
constexpr int DEVICE_SECONDS = 3;  // less than it waits for an answer

/// A spooler that sends more than this as a PPD sends nonsense.
constexpr std::size_t LONGEST_PPD = std::size_t{4} << 20;

using Request = std::unique_ptr<ipp_t, decltype(&ippDelete)>;

Request makeRequest(ipp_op_t operation) {
  return {ippNewRequest(operation), ippDelete};
}

void add(const Request& request, ipp_tag_t kind, const char* name, const std::string& value) {
  ippAddString(request.get(), IPP_TAG_OPERATION, kind, name, nullptr, value.c_str());
}

void addQueue(const Request& request, const std::string& queue) {
  std::array<char, HTTP_MAX_URI> uri = {};
  httpAssembleURIf(HTTP_URI_CODING_ALL, uri.data(), static_cast<int>(uri.size()), "ipp", nullptr, "localhost", 0,
                   "/printers/%s", queue.c_str());
  add(request, IPP_TAG_URI, "printer-uri", uri.data());
}

template <std::size_t COUNT>
void wantAttributes(const Request& request, const std::array<const char*, COUNT>& names) {
  ippAddStrings(request.get(), IPP_TAG_OPERATION, IPP_TAG_KEYWORD, "requested-attributes", static_cast<int>(COUNT),
                nullptr, names.data());
}

constexpr std::array QUEUE_ATTRIBUTES = {
    "printer-name",          "printer-make-and-model",   "device-uri", "printer-state", "printer-state-message",
    "printer-state-reasons", "printer-is-accepting-jobs"};
constexpr std::array JOB_ATTRIBUTES = {"job-id", "time-at-completed", "job-state", "job-state-reasons",
                                       "job-printer-state-message"};

std::string textOf(ipp_attribute_t* attribute, int index = 0) {
  const char* text = ippGetString(attribute, index, nullptr);
  return text != nullptr ? text : "";
}

std::vector<std::string> reasonsOf(ipp_attribute_t* attribute) {
  std::vector<std::string> reasons;
  for (int i = 0; i < ippGetCount(attribute); ++i) {
    if (textOf(attribute, i) != "none") reasons.push_back(textOf(attribute, i));
  }
  return reasons;
}

void take(ipp_attribute_t* attribute, const std::string& name, Queue& queue) {
  if (name == "printer-name") queue.name = textOf(attribute);
  if (name == "printer-make-and-model") queue.makeAndModel = textOf(attribute);
  if (name == "device-uri") queue.deviceUri = textOf(attribute);
  if (name == "printer-state-message") queue.message = textOf(attribute);
  if (name == "printer-state-reasons") queue.reasons = reasonsOf(attribute);
  if (name == "printer-state") queue.state = static_cast<ipp_pstate_t>(ippGetInteger(attribute, 0));
  if (name == "printer-is-accepting-jobs") queue.accepting = ippGetBoolean(attribute, 0) != 0;
}

void take(ipp_attribute_t* attribute, const std::string& name, Job& job) {
  if (name == "job-id") job.id = ippGetInteger(attribute, 0);
  if (name == "job-state") job.state = static_cast<ipp_jstate_t>(ippGetInteger(attribute, 0));
  if (name == "time-at-completed") job.completed = ippGetInteger(attribute, 0);
  if (name == "job-state-reasons") job.reasons = reasonsOf(attribute);
  if (name == "job-printer-state-message") job.message = textOf(attribute);
}

/// The records of an answer, each a group of attributes with a delimiter behind it.
template <class Record>
std::vector<Record> recordsOf(ipp_t* answer, ipp_tag_t group) {
  std::vector<Record> records;
  bool open = false;
  for (ipp_attribute_t* a = ippFirstAttribute(answer); a != nullptr; a = ippNextAttribute(answer)) {
    const bool inside = ippGetGroupTag(a) == group && ippGetName(a) != nullptr;
    if (inside && !open) records.emplace_back();
    if (inside) take(a, ippGetName(a), records.back());
    open = inside;
  }
  return records;
}

bool isGood(ipp_t* answer) {
  return answer != nullptr && ippGetStatusCode(answer) <= IPP_STATUS_OK_CONFLICTING;
}

}  // namespace

Spooler::Spooler() {
  // This program looks and asks nobody: what needs a password is left alone.
  cupsSetPasswordCB2([](const char*, http_t*, const char*, const char*, void*) -> const char* { return nullptr; },
                     nullptr);
}

bool Spooler::connect() {
  connection_ = httpConnect2(cupsServer(), ippPort(), nullptr, AF_UNSPEC, cupsEncryption(), 1, CONNECT_MS, nullptr);
  if (connection_ == nullptr) return false;
  httpSetTimeout(
      connection_, ANSWER_SECONDS, [](http_t*, void*) { return 0; }, nullptr);
  // A spooler that hangs still has its socket; one that answers may well say that it has no default queue.
  return ask(makeRequest(IPP_OP_CUPS_GET_DEFAULT)) != nullptr;
}

std::string Spooler::place() const {
  const std::string server = cupsServer();
  return server.starts_with('/') ? server : server + ':' + std::to_string(ippPort());
}

bool Spooler::isHere() const {
  const std::string server = cupsServer();
  return server.starts_with('/') || server == "localhost" || server.starts_with("127.") || server == "::1" ||
         server == "[::1]";
}

Spooler::Message Spooler::ask(Message request) {
  return {cupsDoRequest(connection_, request.release(), "/"), ippDelete};
}

std::optional<Queue> Spooler::queue(const std::string& name) {
  Request request = makeRequest(IPP_OP_GET_PRINTER_ATTRIBUTES);
  addQueue(request, name);
  wantAttributes(request, QUEUE_ATTRIBUTES);
  const Message answer = ask(std::move(request));
  if (!isGood(answer.get())) return std::nullopt;
  const std::vector<Queue> found = recordsOf<Queue>(answer.get(), IPP_TAG_PRINTER);
  return found.empty() ? std::nullopt : std::optional(found.front());
}

std::vector<Queue> Spooler::allQueues() {
  Request request = makeRequest(IPP_OP_CUPS_GET_PRINTERS);
  wantAttributes(request, QUEUE_ATTRIBUTES);
  const Message answer = ask(std::move(request));
  return recordsOf<Queue>(answer.get(), IPP_TAG_PRINTER);
}

std::string Spooler::defaultQueue() {
  const char* name = cupsGetDefault2(connection_);
  const std::string queue = name != nullptr ? name : "";
  return queue.substr(0, queue.find('/'));  // behind it stands the name of a set of saved options
}

std::optional<std::string> Spooler::queuePpd(const std::string& queue) {
  const Request request = makeRequest(IPP_OP_CUPS_GET_PPD);
  addQueue(request, queue);
  return fetch(request);
}

std::optional<std::string> Spooler::driverPpd(const std::string& driver) {
  const Request request = makeRequest(IPP_OP_CUPS_GET_PPD);
  add(request, IPP_TAG_NAME, "ppd-name", driver);
  return fetch(request);
}

/// Not by cupsGetPPD3, which takes the file of this machine's own spooler for that of any other one on a socket.
std::optional<std::string> Spooler::fetch(const Message& request) {
  if (cupsSendRequest(connection_, request.get(), "/", ippLength(request.get())) != HTTP_STATUS_CONTINUE) {
    return std::nullopt;
  }
  const Message answer(cupsGetResponse(connection_, "/"), ippDelete);
  if (!isGood(answer.get())) return std::nullopt;
  std::string text;
  std::array<char, 16384> part;
  ssize_t got = 0;
  while ((got = cupsReadResponseData(connection_, part.data(), part.size())) > 0) {
    text.append(part.data(), static_cast<std::size_t>(got));
    if (text.size() > LONGEST_PPD) {
      httpReconnect2(connection_, CONNECT_MS, nullptr);  // the rest is on its way
      return std::nullopt;
    }
  }
  return got < 0 || text.empty() ? std::nullopt : std::optional(text);
}

std::optional<std::vector<Job>> Spooler::waitingJobs(const std::string& queue) {
  return jobs(queue, "not-completed");
}

std::optional<std::vector<Job>> Spooler::pastJobs(const std::string& queue) {
  return jobs(queue, "completed");
}

std::optional<std::vector<Job>> Spooler::jobs(const std::string& queue, const char* which) {
  Request request = makeRequest(IPP_OP_GET_JOBS);
  addQueue(request, queue);
  add(request, IPP_TAG_KEYWORD, "which-jobs", which);
  wantAttributes(request, JOB_ATTRIBUTES);
  const Message answer = ask(std::move(request));
  if (!isGood(answer.get())) return std::nullopt;
  return recordsOf<Job>(answer.get(), IPP_TAG_JOB);
}

std::optional<std::vector<std::string>> Spooler::devices(const std::string& scheme) {
  Request request = makeRequest(IPP_OP_CUPS_GET_DEVICES);
  add(request, IPP_TAG_NAME, "include-schemes", scheme);
  ippAddInteger(request.get(), IPP_TAG_OPERATION, IPP_TAG_INTEGER, "timeout", DEVICE_SECONDS);
  const Message answer = ask(std::move(request));
  if (answer == nullptr || ippGetStatusCode(answer.get()) == IPP_STATUS_ERROR_FORBIDDEN ||
      ippGetStatusCode(answer.get()) == IPP_STATUS_ERROR_NOT_AUTHORIZED) {
    return std::nullopt;
  }
  std::vector<std::string> uris;
  ipp_attribute_t* uri = ippFindAttribute(answer.get(), "device-uri", IPP_TAG_URI);
  for (; uri != nullptr; uri = ippFindNextAttribute(answer.get(), "device-uri", IPP_TAG_URI)) {
    uris.push_back(textOf(uri));
  }
  return uris;
}

}  // namespace kesto::doctor
