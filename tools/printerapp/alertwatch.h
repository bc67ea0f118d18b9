// The watch over the printers between jobs: a thread that asks each network printer which is not printing for its
// alerts, now and then, and lets no job wait for nothing.
//
// While a printer prints, the job's filter asks it.
#pragma once

#include <atomic>
#include <string>

#include "base/thread.h"
#include "printerapp/catalogue.h"
#include "printerapp/printerrecord.h"

namespace kesto::app {

class AlertWatch {
 public:
  /// Starts the thread. Without it, alerts are known in jobs only. The catalogue has to live longer.
  explicit AlertWatch(const Catalogue& catalogue);
  AlertWatch(const AlertWatch&) = delete;
  AlertWatch& operator=(const AlertWatch&) = delete;
  /// Ends the thread, after a question that is being asked.
  ~AlertWatch();

 private:
  void watch();
  static void serveIdle(PrinterRecord& record);
  void ask(PrinterRecord& record);
  void show(PrinterRecord& record, const std::string& alerts);

  const Catalogue& catalogue_;
  std::atomic<bool> stopped_{false};
  Thread thread_;
};

}  // namespace kesto::app
