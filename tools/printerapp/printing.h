// Printing a job: the filters run until the printer has everything, once more from the start when it went away.
#pragma once

#include <string>

#include <pappl/pappl.h>

#include "printerapp/catalogue.h"
#include "printerapp/filterrun.h"

namespace kesto::app {

/// What the application needs to know everywhere. It does not change once the system runs.
struct Setup {
  Catalogue catalogue;
  std::string serverBin;   ///< the spooler's folder of programs, with the filters in "filter"
  std::string spool;       ///< the folder of jobs and state
  std::string temporary;   ///< the folder of what a job needs while it is printed
  std::string testPage;    ///< a PDF
  bool reachable = false;  ///< from other machines
};

/// The text of a job or printer for a filter's arguments: without control characters and quotation marks, which would
/// end the printer's own text early.
[[nodiscard]] std::string plainText(const char* text);

/// The call of a filter of ours, or of the spooler's, for a job.
[[nodiscard]] Command filterCommand(const Setup& setup, const char* filter, pappl_job_t* job, int copies,
                                    const std::string& options);

/// The environment of the filters of a job of this type.
[[nodiscard]] std::vector<std::string> filterEnvironment(const Setup& setup, pappl_job_t* job, const char* type);

/// How PAPPL counts the pages of a job.
enum class Pages { COUNTED_HERE, COUNTED_BY_PAPPL };

/// Ends the thread when another one has begun the job already. For the start of each callback that begins a job.
void beginOnce(pappl_job_t* job);

/// Prints a job and returns true when the printer has it, or when it was cancelled. Two jobs of a printer wait for each
/// other. A printer that goes away is waited for; the job then begins anew, and says so. The job's message and reasons,
/// the printer's reasons and the log tell what happens.
[[nodiscard]] bool printJob(pappl_job_t* job, pappl_device_t* device, const FilterCall& call, Pages pages);

}  // namespace kesto::app
