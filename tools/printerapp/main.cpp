// kesto-printer-app: an IPP Everywhere printer for phones, other systems and spoolers without drivers.
#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

#include <pappl/pappl.h>
#include <unistd.h>

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

/// The first argument as a path. PAPPL starts the server for the other commands by it, and does not look in PATH.
char* programPath(char* name) {
  static std::string path;
  std::error_code unknown;
  if (std::string_view(name).find('/') == std::string_view::npos) {
    path = std::filesystem::read_symlink("/proc/self/exe", unknown);
  }
  return path.empty() ? name : path.data();
}

/// Lets a command end with the server that PAPPL has started for it: PAPPL waits for ever for one that has said why it
/// cannot start.
void endWithPrivateServer(std::span<char*> arguments) {
  if (std::ranges::find(arguments, std::string_view("server")) != arguments.end()) return;
  signal(SIGCHLD, [](int) { _exit(EXIT_FAILURE); });
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
  const std::span arguments(argv, static_cast<std::size_t>(argc));
  if (!arguments.empty()) arguments[0] = programPath(arguments[0]);
  nameCopies(arguments);
  endWithPrivateServer(arguments);
  const auto drivers = driverList(setup);
  return papplMainloop(argc, argv, KESTO_VERSION, "Kesto Printer Application " KESTO_VERSION,
                       static_cast<int>(drivers.size()), drivers.data(), chooseDriver, describeDriver, nullptr, nullptr,
                       makeSystem, nullptr, &setup);
}
