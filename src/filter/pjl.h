// The job header and the end of job, written in PJL.
//
// Thread rule: the job thread writes; the bytes reach the printer through the output channel.
#pragma once

#include "jobsettings/jobsettings.h"
#include "jobsettings/pjlnames.h"

namespace kesto {

/// Whether the spooler's type of a file, or null, is that of a banner page.
[[nodiscard]] bool isJobSheet(const char* fileType);

/// Writes the job header through the output channel, one write for each line: the job's identity, its settings, and
/// the switch to PCL XL as the last line. A setting that is INVALIDOPTION leaves its line out.
///
/// `title` and `user` go out as they are, in lines cut to 2047 bytes. `fileType` is the spooler's type of the file
/// or null; a "job-sheet" gets no binding, every other file does when the job is two-sided.
void writePJLHeader(const JobSetting& setting, const char* title, const char* user, const char* fileType);

/// Writes the end of job through the output channel: the 44 bytes that leave PCL XL and close the job.
void writePJLEndOfJob();

}  // namespace kesto
