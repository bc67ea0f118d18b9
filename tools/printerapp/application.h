// PAPPL's system as this application has it: where it listens and stores, what it prints, and how.
#pragma once

#include <span>

#include <pappl/pappl.h>

#include "printerapp/printing.h"

namespace kesto::app {

/// The drivers for PAPPL's list: one.
[[nodiscard]] std::span<pappl_pr_driver_t> driverList(const Setup& setup);

/// Chooses the driver for a device that PAPPL has found; nullptr when it is not one of these printers.
const char* chooseDriver(const char* info, const char* uri, const char* deviceId, void* data);

/// Describes a printer that is being made. `data` is the Setup.
bool describeDriver(pappl_system_t* system, const char* name, const char* uri, const char* deviceId,
                    pappl_pr_driver_data_t* driverData, ipp_t** attributes, void* data);

/// Makes the system from the options of the command line, with the printers and jobs of before. `data` is the Setup,
/// whose `spool` it sets. Returns nullptr after a message when that is not possible.
pappl_system_t* makeSystem(int optionCount, cups_option_t* options, void* data);

}  // namespace kesto::app
