// Texts from the spooler, a device URI or a printer, as they may stand in a line for a terminal.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kesto::doctor {

/// The text on one line, without control characters and broken UTF-8, cut when it is longer than a person reads.
[[nodiscard]] std::string plain(std::string_view text);

/// The same in quotation marks.
[[nodiscard]] std::string inQuotes(std::string_view text);

/// The text as one word of a shell's command line, whatever it holds: a queue's name comes from the spooler, and the
/// command is there to be copied.
[[nodiscard]] std::string shellWord(std::string_view text);

/// "a, b, c"
[[nodiscard]] std::string listed(const std::vector<std::string>& words);

}  // namespace kesto::doctor
