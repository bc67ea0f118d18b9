// The driver as PAPPL sees it: a printer's capabilities and defaults, made from the catalogue.
#pragma once

#include <pappl/pappl.h>

#include "printerapp/catalogue.h"

namespace kesto::app {

/// The driver's name on command lines and in the state file.
inline constexpr char DRIVER_NAME[] = "kesto";

/// The type of a job that is ready for the printer.
inline constexpr char PRINTER_FORMAT[] = "application/vnd.kesto-printjob";

/// Fills in everything but the callbacks. The texts belong to the catalogue, which has to live as long as the system.
void describePrinter(const Catalogue& catalogue, pappl_pr_driver_data_t& data);

/// The attributes "NAME-supported" and "NAME-default" of the printer's own options; the caller deletes them.
[[nodiscard]] ipp_t* vendorAttributes(const Catalogue& catalogue);

/// Sets the printer's "printer-alert-description"; an empty text takes it away. The defaults that people have chosen
/// for the printer's own options stay.
void setAlertText(const Catalogue& catalogue, pappl_printer_t* printer, const std::string& text);

}  // namespace kesto::app
