// What a job asked for, in the filters' words: the driver's options as a ticket, and the page header of its raster.
#pragma once

#include <string>

#include <cups/raster.h>
#include <pappl/pappl.h>

#include "printerapp/catalogue.h"

namespace kesto::app {

/// How a page is printed.
struct PageForm {
  int width = 0;   ///< of the sheet, hundredths of a millimetre
  int length = 0;  ///< of the sheet, hundredths of a millimetre
  bool borderless = false;
  bool colour = true;
  bool draft = false;  ///< at 300 dpi; otherwise at 600
};

/// What the job's attributes ask for, without a look at the document.
[[nodiscard]] PageForm formOf(const pappl_pr_options_t& options);

/// True when the job's copies are to be collated, which is so unless it says otherwise.
[[nodiscard]] bool isCollated(pappl_job_t* job);

/// The driver's options as the spooler hands them to filters ("PageSize=A4 Duplex=None ..."). Every value is one of
/// the catalogue's keywords or a number: nothing that a client has written goes through.
[[nodiscard]] std::string driverOptions(const Catalogue& catalogue, pappl_printer_t* printer,
                                        const pappl_pr_options_t& options, const PageForm& form);

/// What the spooler's PDF filter is asked to do besides: page range, scaling, orientation, collated copies.
[[nodiscard]] std::string documentOptions(pappl_job_t* job, const pappl_pr_options_t& options);

/// The header that the spooler's renderer would write for a page with these options. Throws std::runtime_error when the
/// PPD cannot be read or does not fit them.
[[nodiscard]] cups_page_header2_t pageHeader(const Catalogue& catalogue, const std::string& options);

}  // namespace kesto::app
