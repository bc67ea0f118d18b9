// Texts in the form in which a program takes its arguments and its environment.
#pragma once

#include <string>
#include <vector>

namespace kesto::tools {

/// Pointers to the texts with a null behind them, good while the texts are.
[[nodiscard]] std::vector<char*> pointersTo(std::vector<std::string>& texts);

}  // namespace kesto::tools
