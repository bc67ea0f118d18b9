// What the programs' command lines have in common: --version, numbers, and a wrong call as one plain line.
#pragma once

#include <optional>
#include <string>
#include <type_traits>

#include <CLI/CLI.hpp>

#include "numbers.h"

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

/// Adds an option for a whole number, which becomes `value`. The last name in `names` stands in messages; a number that
/// `value` has already is shown as the default.
template <class Value>
CLI::Option* addNumber(CLI::App& app, const std::string& names, Value& value, const Range& range,
                       const std::string& text) {
  const auto read = [&value, range, name = names.substr(names.rfind(',') + 1)](const std::string& digits) {
    const auto number = wholeNumber(digits, range);
    if (!number) {
      throw CLI::ValidationError(
          name, "takes a number from " + std::to_string(range.low) + " to " + std::to_string(range.high));
    }
    value = static_cast<Value>(*number);
  };
  CLI::Option* const option = app.add_option_function<std::string>(names, read, text)->type_name("N");
  if constexpr (std::is_integral_v<Value>) {
    if (value != 0) option->default_str(std::to_string(value));
  }
  return option;
}

}  // namespace kesto::tools
