// What a check has found: one line for a person, with the command that mends it.
#pragma once

#include <string>

namespace kesto::doctor {

enum class State { GOOD, WRONG, SKIPPED };

/// Both texts are fit for a terminal: what came from outside has passed through `words.h`.
struct Finding {
  State state = State::GOOD;
  std::string what;
  std::string remedy{};  ///< a command, or advice where no command helps; empty when nothing has to be done
};

[[nodiscard]] inline Finding good(std::string what) {
  return {State::GOOD, std::move(what)};
}
[[nodiscard]] inline Finding wrong(std::string what, std::string remedy) {
  return {State::WRONG, std::move(what), std::move(remedy)};
}
[[nodiscard]] inline Finding skipped(std::string what) {
  return {State::SKIPPED, std::move(what)};
}

}  // namespace kesto::doctor
