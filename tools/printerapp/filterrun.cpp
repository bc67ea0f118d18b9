#include "printerapp/filterrun.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <sys/sendfile.h>

namespace kesto::app {
namespace {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

/// How much is read of a job before the printer has taken it.
constexpr std::size_t OUTPUT_BYTES = std::size_t{256} * 1024;

/// How often a job is looked after that nothing else wakes up.
constexpr milliseconds LOOK{100};

/// A filter ends within 5 seconds after SIGTERM. The output of a cancelled job is for the printer as long, so that it
/// is not left in the middle of an image, and is thrown away then.
constexpr milliseconds CANCEL_TIME{6000}, KILL_TIME{8000};

/// How long a printer may take nothing before people are told.
constexpr milliseconds STALL_TIME{10000};

/// How long a filter may take to end after its output.
constexpr milliseconds END_TIME{10000};

/// A process that has lost its reader ends at once.
constexpr milliseconds ORPHAN_TIME{1000};

void makeNonBlocking(int descriptor) {
  fcntl(descriptor, F_SETFL, fcntl(descriptor, F_GETFL) | O_NONBLOCK);
}

Pipe makePipe() {
  Pipe pipe;
  if (const int error = pipe.open(); error != 0) throw std::system_error(error, std::generic_category(), "a pipe");
  return pipe;
}

}  // namespace

FilterRun::~FilterRun() {
  end();
}

RunResult FilterRun::run(PrinterLine& line, JobObserver& observer) {
  try {
    start();
    const RunResult result = pump(line, observer);
    if (result != RunResult::DONE) end();
    return result;
  } catch (const std::system_error& error) {
    ourFault_ = true;
    remark_ = std::string("the filter cannot be started: ") + error.what();
    return RunResult::FAILED;
  }
}

void FilterRun::start() {
  Descriptor from(open("/dev/null", O_RDONLY | O_CLOEXEC));
  if (call_.input >= 0) {
    Pipe input = makePipe();
    from = std::move(input.readEnd);
    input_ = std::move(input.writeEnd);
    makeNonBlocking(input_.get());
    position_ = call_.extents.front().begin;
  }
  for (const Command& command : call_.commands) {
    Pipe output = makePipe(), log = makePipe();
    ChildProcess process(command, call_.environment, from.get(), output.writeEnd.get(), log.writeEnd.get());
    makeNonBlocking(log.readEnd.get());
    stages_.push_back({std::move(process), std::move(log.readEnd), {}});
    from = std::move(output.readEnd);
  }
  output_ = std::move(from);
  makeNonBlocking(output_.get());
}

RunResult FilterRun::pump(PrinterLine& line, JobObserver& observer) {
  while (!isOver()) {
    waitForSomething(line);
    const bool ended = stages_.back().process.hasEnded();  // then its messages are all there
    readMessages(observer);
    if (ended && !maySend()) bytes_.clear();
    observer.look();
    followCancel(observer);
    limitEnd();
    feed();
    readOutput();
    if (!deliver(line, observer)) return RunResult::LINE_LOST;
  }
  readMessages(observer);
  return judge(line, observer);
}

void FilterRun::readMessages(JobObserver& observer) {
  for (Stage& stage : stages_) {
    const bool last = &stage == &stages_.back();
    stage.messages.read(stage.log.get(),
                        [&](const std::string& text) { last ? observer.message(text) : observer.preparation(text); });
  }
}

/// Sleeps until a descriptor has something for us. The printer's counts only while bytes wait for it.
void FilterRun::waitForSomething(const PrinterLine& line) const {
  std::vector<pollfd> entries;
  const auto add = [&](int descriptor, short events) {
    if (descriptor >= 0) entries.push_back({.fd = descriptor, .events = events, .revents = 0});
  };
  for (const Stage& stage : stages_) {
    if (!stage.messages.ended()) add(stage.log.get(), POLLIN);
  }
  add(input_.get(), POLLOUT);
  if (bytes_.empty()) {
    add(output_.get(), POLLIN);
  } else if (maySend()) {
    if (line.descriptor() < 0) return;
    add(line.descriptor(), POLLOUT);
  }
  poll(entries.data(), entries.size(), static_cast<int>(LOOK.count()));
}

/// Gives the filter as much of its raster as it takes.
void FilterRun::feed() {
  while (input_.get() >= 0) {
    if (position_ == call_.extents[extent_].end) {
      if (++extent_ == call_.extents.size()) return input_.close();
      position_ = call_.extents[extent_].begin;
    }
    const auto count = static_cast<std::size_t>(call_.extents[extent_].end - position_);
    const ssize_t sent = sendfile(input_.get(), call_.input, &position_, count);
    if (sent < 0 && errno == EINTR) continue;
    if (sent < 0 && errno == EAGAIN) return;
    if (sent <= 0) return input_.close();  // the filter takes no more; what it makes of that, it says itself
  }
}

void FilterRun::readOutput() {
  if (!bytes_.empty() || output_.get() < 0) return;
  bytes_.resize(OUTPUT_BYTES);
  const ssize_t got = read(output_.get(), bytes_.data(), bytes_.size());
  const bool more = got > 0 || (got < 0 && (errno == EAGAIN || errno == EINTR));
  bytes_.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
  if (!more) output_.close();
}

/// Hands over what the printer takes. False when it is gone.
bool FilterRun::deliver(PrinterLine& line, JobObserver& observer) {
  if (cancelled_ && Clock::now() - cancelTime_ > CANCEL_TIME) bytes_.clear();
  if (bytes_.empty() || !maySend()) {
    noteProgress(true, observer);
    return true;
  }
  const ssize_t taken = line.write(bytes_);
  if (taken < 0) return false;
  noteProgress(taken > 0, observer);
  bytes_.erase(bytes_.begin(), bytes_.begin() + taken);
  return true;
}

/// Reports a printer that takes nothing, once, and once more when it goes on.
void FilterRun::noteProgress(bool progress, JobObserver& observer) {
  if (progress) progress_ = Clock::now();
  const bool stalled = Clock::now() - progress_ > STALL_TIME;
  if (stalled != stalled_) observer.stalled(stalled);
  stalled_ = stalled;
}

/// Ends the filters of a cancelled job as the spooler would: it asks them to, and they close the job in order.
void FilterRun::followCancel(const JobObserver& observer) {
  if (!cancelled_ && observer.isCancelled()) {
    cancelled_ = true;
    cancelTime_ = Clock::now();
    for (Stage& stage : stages_) stage.process.signal(SIGTERM);
  }
  if (cancelled_ && Clock::now() - cancelTime_ > KILL_TIME) {
    for (Stage& stage : stages_) stage.process.signal(SIGKILL);
  }
}

/// Kills filters that have closed their output, so that nothing more is to be expected of them, and do not end.
void FilterRun::limitEnd() {
  if (output_.get() >= 0) return;
  if (!outputEnd_) outputEnd_ = Clock::now();
  if (Clock::now() - *outputEnd_ < END_TIME) return;
  for (Stage& stage : stages_) stage.process.signal(SIGKILL);
}

/// True when the last filter has ended and nothing is left of its output that goes to the printer.
bool FilterRun::isOver() {
  return output_.get() < 0 && stages_.back().process.hasEnded() && bytes_.empty();
}

RunResult FilterRun::judge(PrinterLine& line, JobObserver& observer) {
  const auto cancelled = [&] {
    observer.look();
    noteProgress(false, observer);
    return observer.isCancelled();
  };
  const bool finished = !maySend() || line.finish(cancelled);
  noteProgress(finished, observer);
  if (!finished && !cancelled()) return RunResult::LINE_LOST;
  if (cancelled_ || cancelled()) return RunResult::CANCELLED;
  remark_ = stages_.back().messages.error();
  bool failed = !maySend();
  for (Stage& stage : stages_) {
    const std::string failure = stage.process.failure();
    if (failure.empty()) continue;
    failed = true;
    ourFault_ = ourFault_ || stage.process.wasKilled();
    if (remark_.empty()) remark_ = "the filter " + failure;
  }
  return failed ? RunResult::FAILED : RunResult::DONE;
}

void FilterRun::end() {
  output_.close();
  input_.close();
  for (Stage& stage : stages_) stage.process.end(ORPHAN_TIME);
}

}  // namespace kesto::app
