// What PAPPL calls to print a document: PDF, jobs that are ready, and pages as raster.
#pragma once

#include <pappl/pappl.h>

#include "printerapp/printing.h"

namespace kesto::app {

/// Prints a PDF or an image through the spooler's filter for it and ours, as a queue would: what is wrong with a
/// document can end a child process only. `data` is the Setup. A filter of PAPPL's.
bool printDocument(pappl_job_t* job, pappl_device_t* device, void* data);

/// Sets the callbacks that print what is ready for the printer, and rasters.
void setPrintingCallbacks(const Setup& setup, pappl_pr_driver_data_t& data);

}  // namespace kesto::app
