// The printers, their defaults and their jobs over restarts: PAPPL's state file in the spool folder.
#pragma once

#include <string>

#include <pappl/pappl.h>

namespace kesto::app {

/// Reads the state, and has it saved in the same file from now on. A job that was being printed is printed anew.
void restoreState(pappl_system_t* system, const std::string& folder);

/// Saves the state now. A file is there whole or as it was before. Any thread.
void saveState(pappl_system_t* system);

}  // namespace kesto::app
