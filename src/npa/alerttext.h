// Texts of alerts, made fit for the spooler's log.
//
// Standard error is read line by line and each line's prefix is obeyed. A printer's text must not end our line, start
// one of its own or steer a terminal on which the log is read.
//
// Stateless: any thread.
#pragma once

#include <string>
#include <string_view>

#include "npa/NpaParser.h"

namespace kesto {

/// The text with a blank for each control character (C0, DEL and C1) and '?' for each byte that is not part of
/// well-formed UTF-8 (The Unicode Standard, table 3-7).
[[nodiscard]] std::string printableText(std::string_view text);

/// The text of an alert for the log, printable: the text of its first entry, else its text 1.4.9, else 1.4.10, else a
/// sentence of our own. A text of blanks counts as none.
[[nodiscard]] std::string alertText(const PSSDALERTINFO& alert);

}  // namespace kesto
