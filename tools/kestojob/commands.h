// What each command does with a file of jobs.
#pragma once

#include <memory>

#include "kestojob/jobtask.h"
#include "kestojob/pagepictures.h"

namespace kesto::job {

/// Lists the elements on standard output.
[[nodiscard]] std::unique_ptr<JobTask> makeListTask(bool json);
/// Judges each job; the good ones are reported on standard output, notes and faults on standard error.
[[nodiscard]] std::unique_ptr<JobTask> makeCheckTask();
/// Describes each job on standard output.
[[nodiscard]] std::unique_ptr<JobTask> makeInfoTask();
/// Draws the pages. Throws FileError when there is nowhere to write them.
[[nodiscard]] std::unique_ptr<JobTask> makePagesTask(const PictureChoices& choices);

}  // namespace kesto::job
