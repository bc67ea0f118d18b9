// Jobs of the USB printer: the output of a filter that it starts, or what the spooler hands to a backend.
#pragma once

#include <string>
#include <vector>

#include "kestoprinter/usbprinter.h"

namespace kesto::printer {

/// Where the USB printer keeps jobs, and when it is to end before them.
struct UsbJob {
  std::string folder = ".";
  int number = 1;
  bool (*ended)();
};

/// Runs a program with the printer on its standard output and its descriptor 3, and keeps what it prints. The panel's
/// lines come from standard input. Returns the program's exit status, or 128 and the signal that ended it. Throws
/// std::system_error when it cannot be run or the job cannot be kept.
int printFilter(UsbPrinter& printer, const std::vector<std::string>& command, const UsbJob& job);

/// Takes the job that a backend gets, from `file` or, if that is empty, from standard input, and answers on the back
/// channel. Throws std::system_error.
void printBackend(UsbPrinter& printer, const std::string& file, const UsbJob& job);

/// The options in a device URI such as usb://Kesto/Page?error=Cover+open&delay=100, as "--error=Cover open" and so on.
[[nodiscard]] std::vector<std::string> optionsOf(const std::string& uri);

}  // namespace kesto::printer
