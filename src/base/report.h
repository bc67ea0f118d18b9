// Messages to the spooler.
//
// Standard error is a control channel: the spooler reads it line by line, acts on the prefix ("ERROR: ", "WARNING: ",
// "PAGE: ", "DEBUG: ") and cuts what is longer than its line buffer. Threads report independently of each other, so a
// message is put together first and leaves in one write; two messages never mix within a line.
//
// Any thread may report. Nothing here throws or allocates, so that a shortage of memory can still be reported.
#pragma once

namespace kesto {

/// The longest message in bytes, its line feed included.
inline constexpr int MAX_REPORT_LENGTH = 2047;

/// Writes one message, formatted as printf does, to standard error.
///
/// A message is one line, perhaps with a line feed before it: control characters inside it (names and texts come from
/// outside) become spaces, and a message that is cut at MAX_REPORT_LENGTH bytes still ends with a line feed. One that
/// ends without a line feed leaves its line open; the next message then begins with one, so that its prefix counts.
/// errno is left as it was.
[[gnu::format(printf, 1, 2)]] void report(const char* format, ...);

/// Writes "TEXT: reason" and a line feed, the form of perror, with the system's text for the error number `error`.
void reportErrno(const char* text, int error);

}  // namespace kesto
