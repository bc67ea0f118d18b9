#include "commandline.h"

#include <cstdio>

namespace kesto::tools {

std::string reasonOf(const CLI::App& app, const CLI::ParseError& error) {
  std::string text = error.what();
  const auto kind = static_cast<CLI::ExitCodes>(error.get_exit_code());
  if (kind == CLI::ExitCodes::ExtrasError) {
    const std::vector<std::string> extras = app.remaining(true);
    if (!extras.empty()) return "unexpected argument: " + extras.front();
  }
  if (kind == CLI::ExitCodes::ArgumentMismatch) {
    // "--port: 1 required UINT missing", "--port: At Most 1 required but received 2"
    const bool repeated = text.find("but received") != std::string::npos;
    return text.substr(0, text.find(':')) + (repeated ? ": may be given once" : ": needs a value");
  }
  return text;
}

std::optional<int> parseCommandLine(CLI::App& app, int argc, const char* const* argv) {
  app.set_version_flag("--version", app.get_name() + " " KESTO_VERSION, "Show the program's version");
  try {
    app.parse(argc, argv);
    return std::nullopt;
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) return app.exit(error);
    const char* const name = app.get_name().c_str();
    std::fprintf(stderr, "%s: %s (see %s --help)\n", name, reasonOf(app, error).c_str(), name);
    return WRONG_CALL;
  }
}

}  // namespace kesto::tools
