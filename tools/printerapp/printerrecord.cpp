#include "printerapp/printerrecord.h"

#include <algorithm>

#include "base/poll.h"

namespace kesto::app {
namespace {

std::atomic<PrinterRecord*> newest{nullptr};

}  // namespace

PrinterRecord& addRecord() {
  auto* const record = new PrinterRecord;  // for good: see above
  record->next = newest.load(std::memory_order_acquire);
  while (!newest.compare_exchange_weak(record->next, record, std::memory_order_acq_rel)) {
  }
  return *record;
}

PrinterRecord* newestRecord() {
  return newest.load(std::memory_order_acquire);
}

PrinterRecord& recordOf(pappl_printer_t* printer) {
  pappl_pr_driver_data_t data;
  papplPrinterGetDriverData(printer, &data);
  return *static_cast<PrinterRecord*>(data.extension);
}

bool firstTime(PrinterRecord& record, int job) {
  pollUntil([&] { return !record.noting.exchange(true, std::memory_order_acquire); });
  const bool first = std::ranges::find(record.begun, job) == record.begun.end();
  if (first) record.begun[record.begunCount++ % record.begun.size()] = job;
  record.noting.store(false, std::memory_order_release);
  return first;
}

Turn::Turn(PrinterRecord& record, const std::function<bool()>& giveUp) : record_(record) {
  pollUntil([&] {
    taken_ = !record_.busy.exchange(true, std::memory_order_acquire);
    return taken_ || giveUp();
  });
}

Turn::~Turn() {
  if (taken_) record_.busy.store(false, std::memory_order_release);
}

}  // namespace kesto::app
