// The printers, their defaults and their jobs over restarts: PAPPL's state file in the spool folder.
#pragma once

#include <string>

#include <pappl/pappl.h>

#include "printerapp/printerrecord.h"

namespace kesto::app {

/// Makes a folder, or removes all that is in it. Returns why that cannot be, or nothing.
[[nodiscard]] std::string emptyFolder(const std::string& folder);

/// Reads the state, and has it saved in the same file from now on. A job that was being printed is printed anew. The
/// files of jobs that are gone are removed.
void restoreState(pappl_system_t* system, const std::string& folder);

/// For the end of a printer's deletion, during which no state is saved.
void endDeletion(PrinterRecord& record);

/// Saves the state now. A file is there whole or as it was before, when the disk is full as well. Any thread.
void saveState(pappl_system_t* system);

}  // namespace kesto::app
