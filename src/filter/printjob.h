// The job, from the command line to the exit status.
//
// Runs on the process's main thread, the job thread, which starts and stops every other thread. A step that cannot go
// on throws a JobError (see joberror.h); what the earlier steps hold is released on the way out.
#pragma once

#include <cstdint>

namespace kesto {

/// What the document is.
enum class DocumentType : std::uint8_t {
  PDF,    ///< a file that is rendered here
  RASTER  ///< rendered pages: CUPS, PWG or Apple raster
};

/// Prints one job: `argv` holds the program name, job id, user, title, copies and options, and optionally the name of
/// the document's file, which is otherwise read from standard input. Returns the exit status, 0 for a job that ran to
/// its end, and otherwise the number of the error that has been logged.
int filterMain(int argc, char* argv[], DocumentType type);

}  // namespace kesto
