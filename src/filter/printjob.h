// The job, from the command line to the exit status.
//
// Runs on the process's main thread, the job thread, which starts and stops every other thread. A step that cannot go
// on throws a JobError (see joberror.h); what the earlier steps hold is released on the way out.
#pragma once

namespace kesto {

/// Prints one job: `argv` holds the program name, job id, user, title, copies and options, and optionally the name of
/// the PDF file, which is otherwise read from standard input. Returns the exit status, 0 for a job that ran to its end.
int runJob(int argc, char* argv[]);

}  // namespace kesto
