// Whether the printer answers status requests, which is how a queue comes by its messages, and what it has to say.
//
#include <array>

#include <arpa/inet.h>
#include <cups/http.h>
#include <netinet/in.h>

#include "kestodoctor/checks.h"
#include "statusquery.h"

namespace kesto::doctor {
namespace {

using tools::PrinterStatus;
using tools::STATUS_PORT;

/// The host's IPv4 address with its points; empty when it has none.
std::string addressOf(const std::string& host) {
  http_addrlist_t* const addresses = httpAddrGetList(host.c_str(), AF_INET, nullptr);
  std::array<char, INET_ADDRSTRLEN> text = {};
  if (addresses != nullptr) inet_ntop(AF_INET, &addresses->addr.ipv4.sin_addr, text.data(), text.size());
  httpAddrFreeList(addresses);
  return text.data();
}

Finding findingOf(const PrinterStatus& status, const std::string& host) {
  if (!status.answered) {
    return wrong(
        std::string("the printer ") + (status.heard ? "answers nonsense to" : "does not answer") +
            " status requests on UDP port " + std::to_string(STATUS_PORT),
        "let that port through between here and " + plain(host) + "; jobs are printed all the same, without messages");
  }
  std::vector<std::string> alerts;
  for (const std::string& alert : status.alerts) alerts.push_back(inQuotes(alert));
  if (status.errors) return wrong("the printer reports " + listed(alerts), "see to it at the printer");
  if (!alerts.empty()) return good("the printer answers status requests, with a warning: " + listed(alerts));
  return good("the printer answers status requests and reports no error");
}

}  // namespace

Finding checkStatus(Examination& examination) {
  const std::string& host = examination.device.host;
  if (host.empty()) return skipped("the printer's status: it is asked on the network only");
  const std::string address = addressOf(host);
  if (address.empty())
    return skipped("the printer's status: it is asked by IPv4, and " + plain(host) + " has no such address");
  Finding finding = findingOf(tools::queryStatus(address), host);
  if (finding.state == State::GOOD && address != host) {
    finding.what += " (jobs do not ask it: the device URI gives no IPv4 address but a name)";
  }
  return finding;
}

}  // namespace kesto::doctor
