#include "filter/outputchannel.h"

#include "filter/joberror.h"
#include "filter/jobstate.h"
#include "hdc/hdc.h"

namespace kesto {
namespace {

constexpr std::uint32_t RING_CAPACITY = 20 * 1024 * 1024;
constexpr std::uint32_t FLUSH_THRESHOLD = 5 * 1024 * 1024;

}  // namespace

void OutputChannel::start(const char* connectivity) {
  hdcContext.cancelFlag = &isTerminated;
  hdcInitialize(RING_CAPACITY, FLUSH_THRESHOLD);
  if (hdcFailure() != 0) failJobWithText({}, hdcFailure());  // the ring has reported it
  hdcStartPrintThread(const_cast<char*>(connectivity));
  if (hdcFailure() != 0) failJob("ERROR: Unable to start the print thread", hdcFailure());
}

OutputChannel::~OutputChannel() {
  hdcAbandon();
  hdcStopPrintThread();
}

void OutputChannel::finish() {
  hdcWaitUntilEmpty();
  hdcStopPrintThread();
  checkThreads();
}

}  // namespace kesto
