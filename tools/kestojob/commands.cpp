#include "kestojob/commands.h"

#include <iostream>
#include <optional>
#include <vector>

#include "kestojob/progress.h"
#include "kestojob/reader/jobcheck.h"
#include "kestojob/reader/jobinfo.h"
#include "kestojob/reader/lister.h"
#include "kestojob/reader/text.h"

namespace kesto::job {
namespace {

class ListTask : public JobTask {
 public:
  explicit ListTask(bool json) : writer_(json ? makeJsonWriter(std::cout) : makeTextWriter(std::cout)) {}

  void read(ByteSource& source, std::uint64_t number) override { listJob(source, *writer_, number); }

 private:
  std::unique_ptr<ListWriter> writer_;
};

/// Shows how far a check has got; the pixels are of no interest.
class Watcher : public PageSink {
 public:
  Watcher(Progress& progress, const ByteSource& source) : progress_(progress), source_(source) {}

  [[nodiscard]] PixelForm form() const override { return UNSEEN; }
  void beginPage(const PageLayout& /*layout*/) override { ++page_; }
  void rows(std::span<const std::uint8_t> /*pixels*/, std::size_t /*rowBytes*/) override {
    progress_.show(page_, source_.offset());
  }

 private:
  Progress& progress_;
  const ByteSource& source_;
  std::uint64_t page_ = 0;
};

class CheckTask : public JobTask {
 public:
  void beginFile(std::uint64_t size) override { progress_.emplace(size); }

  void read(ByteSource& source, std::uint64_t /*number*/) override {
    Watcher watcher(*progress_, source);
    JobCheck check(source, &watcher);
    try {
      summary_ = check.run();
      notes_ = check.notes();
    } catch (const Fault&) {
      notes_ = check.notes();
      throw;
    }
  }

  void report(const JobPlace& job) override {
    progress_->clear();
    if (job.good) {
      std::cout << job.label << ": good: " << counted(summary_.pages, "page") << ", "
                << counted(summary_.strips, "strip") << ", " << counted(summary_.bytes, "byte") << '\n'
                << std::flush;
    }
    for (const Note& note : notes_) {
      complain(job.label + ": note: offset " + std::to_string(note.offset) + ": " + note.sentence);
    }
  }

 private:
  std::optional<Progress> progress_;
  JobSummary summary_;
  std::vector<Note> notes_;
};

class InfoTask : public JobTask {
 public:
  void read(ByteSource& source, std::uint64_t number) override {
    info_.emplace();
    listJob(source, *info_, number);
  }

  void report(const JobPlace& job) override {
    if (!first_) std::cout << '\n';
    first_ = false;
    info_->write(std::cout, job.label, job.bytes);
  }

 private:
  std::optional<JobInfo> info_;
  bool first_ = true;
};

class PagesTask : public JobTask {
 public:
  explicit PagesTask(const PictureChoices& choices)
      : pictures_(choices, [this](std::uint64_t page) { progress_->show(page, source_->offset()); }) {}

  void beginFile(std::uint64_t size) override { progress_.emplace(size); }

  void read(ByteSource& source, std::uint64_t /*number*/) override {
    source_ = &source;
    try {
      JobCheck(source, &pictures_).run();
    } catch (const Fault&) {
      pictures_.endPage();  // what came before the fault shows where it is
      throw;
    }
  }

  void report(const JobPlace& job) override {
    progress_->clear();
    allGood_ = allGood_ && job.good;
  }
  void endFile() override { pictures_.finish(allGood_); }

 private:
  std::optional<Progress> progress_;
  const ByteSource* source_ = nullptr;
  PagePictures pictures_;
  bool allGood_ = true;
};

}  // namespace

std::unique_ptr<JobTask> makeListTask(bool json) {
  return std::make_unique<ListTask>(json);
}

std::unique_ptr<JobTask> makeCheckTask() {
  return std::make_unique<CheckTask>();
}

std::unique_ptr<JobTask> makeInfoTask() {
  return std::make_unique<InfoTask>();
}

std::unique_ptr<JobTask> makePagesTask(const PictureChoices& choices) {
  return std::make_unique<PagesTask>(choices);
}

}  // namespace kesto::job
