#include "npa/oir/oirthread.h"

#include <cerrno>
#include <chrono>
#include <vector>

#include <pthread.h>

#include "base/poll.h"
#include "base/report.h"
#include "npa/oir/NPAPrinterAlertHandler.h"

namespace kesto {

namespace {

using namespace std::chrono_literals;

void pauseFor(std::chrono::milliseconds time) {
  static_cast<void>(pollUntil([] { return false; }, time));
}

}  // namespace

int startOirThread(oirThreadParam* param) {
  if (param == nullptr) return EINVAL;
  pthread_t thread{};
  const int result = pthread_create(&thread, nullptr, processOirThread, param);
  if (result != 0) return result;
  pthread_detach(thread);
  param->running.store(1, std::memory_order_release);
  return 0;
}

void* processOirThread(void* param) {
  processOirThreadPrinterHandler(static_cast<oirThreadParam*>(param));
}

void processOirThreadPrinterHandler(oirThreadParam* param) {
  NPAPrinterAlertHandler handler(NPA_TRANSPORT_9300);
  for (;;) {
    param->running.store(1, std::memory_order_release);
    if (reportOirStatus(handler, param)) pauseFor(2s);
    pauseFor(10ms);
  }
}

bool reportOirStatus(NPAPrinterAlertHandler& handler, oirThreadParam* param) {
  if (handler.GetPrinterOIRStatus(param) < 0 || handler.entryCount() < 1) return false;
  std::vector<char*> texts(static_cast<std::size_t>(handler.entryCount()), nullptr);
  handler.GetParsedString(texts.data());
  if (texts.front() == nullptr) return false;
  report("WARNING: %s\n", texts.front());
  return true;
}

}  // namespace kesto
