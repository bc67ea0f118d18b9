// A page through the filter.
#include "kestodoctor/checks.h"
#include "kestodoctor/serverbin.h"
#include "kestodoctor/testpage.h"

namespace kesto::doctor {

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
