// What is measured. Each function adds its tables and series to the report.
#pragma once

#include "programs.h"
#include "report.h"

namespace kesto::bench {

/// From pixels in memory to compressed streams, one thread: six kinds of page in colour and grey, and the tags.
void measureEncoding(Report& report);

/// Whole jobs beside the renderer alone, and the filter's own processor time beside another raster filter's.
void measureJobs(const Programs& programs, Report& report);

/// How time grows with pixels and pages, and memory with pages.
void measureGrowth(const Programs& programs, Report& report);

/// Where the time of a page goes, step by step.
void measureStages(const Programs& programs, Report& report);

}  // namespace kesto::bench
