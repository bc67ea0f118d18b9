// kesto-printer-app: an IPP Everywhere printer for phones, other systems and spoolers without drivers.
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>

#include <pappl/pappl.h>

#include "printerapp/application.h"
#include "printerapp/printerline.h"

namespace {

/// The variable's value, or what the program was built with.
std::string folder(const char* variable, const char* installed) {
  const char* const value = std::getenv(variable);  // NOLINT(concurrency-mt-unsafe): one thread as yet
  return value != nullptr && *value == '/' ? value : installed;
}

}  // namespace

int main(int argc, char** argv) {
  using namespace kesto::app;
  const std::string data = folder("KESTO_DATA_FOLDER", KESTO_DATA_FOLDER);
  static Setup setup;  // PAPPL's threads look at it until the end
  try {
    setup.catalogue = readCatalogue(data + "/kesto.ppd");
  } catch (const std::runtime_error& error) {
    std::fprintf(stderr, "kesto-printer-app: %s\n", error.what());
    return EXIT_FAILURE;
  }
  setup.serverBin = folder("CUPS_SERVERBIN", KESTO_SERVERBIN);
  setup.testPage = data + "/testpage.pdf";
  signal(SIGPIPE, SIG_IGN);  // a printer or a filter that goes away is an error of one write
  addSocketScheme();
  const auto drivers = driverList(setup);
  return papplMainloop(argc, argv, KESTO_VERSION, "Kesto Printer Application " KESTO_VERSION,
                       static_cast<int>(drivers.size()), drivers.data(), chooseDriver, describeDriver, nullptr, nullptr,
                       makeSystem, nullptr, &setup);
}
