// What the programs' command lines have in common: --version, and a wrong call as one plain line.
#pragma once

#include <optional>
#include <string>

#include <CLI/CLI.hpp>

namespace kesto::tools {

/// The exit status of a program that was called in a wrong way.
inline constexpr int WRONG_CALL = 2;

/// Parses the command line after adding --version to it. Returns nothing when the program is to go on; else the exit
/// status it has to end with at once: 0 when help or the version was asked for and is on standard output, WRONG_CALL
/// when the reason is on standard error.
[[nodiscard]] std::optional<int> parseCommandLine(CLI::App& app, int argc, const char* const* argv);

/// What is wrong with a call, as a sentence without full stop and without the names of types. `app` is the one that
/// threw the error.
[[nodiscard]] std::string reasonOf(const CLI::App& app, const CLI::ParseError& error);

}  // namespace kesto::tools
