// kesto-printer-app: an IPP Everywhere printer for phones, other systems and spoolers without drivers.
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

#include <pappl/pappl.h>

#include "printerapp/application.h"
#include "printerapp/printerline.h"

namespace {

/// The variable's value, or what the program was built with.
std::string folder(const char* variable, const char* installed) {
  const char* const value = std::getenv(variable);  // NOLINT(concurrency-mt-unsafe): one thread as yet
  return value != nullptr && *value == '/' ? value : installed;
}

/// PAPPL 1.3 reads "-n COPIES" and forgets it; as an option it does not.
void nameCopies(std::span<char*> arguments) {
  static std::string option;
  for (std::size_t i = 1; i + 1 < arguments.size(); ++i) {
    if (std::string_view(arguments[i]) != "-n") continue;
    static char name[] = "-o";
    option = std::string("copies=") + arguments[i + 1];
    arguments[i] = name;
    arguments[i + 1] = option.data();
  }
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
  nameCopies({argv, static_cast<std::size_t>(argc)});
  const auto drivers = driverList(setup);
  return papplMainloop(argc, argv, KESTO_VERSION, "Kesto Printer Application " KESTO_VERSION,
                       static_cast<int>(drivers.size()), drivers.data(), chooseDriver, describeDriver, nullptr, nullptr,
                       makeSystem, nullptr, &setup);
}
