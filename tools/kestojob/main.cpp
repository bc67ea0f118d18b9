// kestojob: lists, checks and shows what is in a printer job.
#include <cerrno>
#include <charconv>
#include <iostream>
#include <optional>
#include <string>
#include <system_error>

#include <CLI/CLI.hpp>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "commandline.h"
#include "kestojob/pagepictures.h"
#include "kestojob/progress.h"
#include "kestojob/reader/fault.h"
#include "kestojob/reader/jobcheck.h"
#include "kestojob/reader/lister.h"
#include "kestojob/reader/text.h"

namespace kesto::job {
namespace {

enum ExitStatus { GOOD = 0, BAD = 1 };

constexpr unsigned SMALLEST_SCALE = 256;

/// What was asked for on the command line.
struct Call {
  std::string job;
  bool json = false;
  std::string scale;
  PictureChoices pictures;
};

/// The job as a descriptor: a file, or standard input for "-".
class JobFile {
 public:
  explicit JobFile(const std::string& path) {
    if (path != "-") descriptor_ = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor_ < 0) throw FileError(std::generic_category().message(errno));
  }
  JobFile(const JobFile&) = delete;
  JobFile& operator=(const JobFile&) = delete;
  ~JobFile() {
    if (descriptor_ != STDIN_FILENO) close(descriptor_);
  }
  [[nodiscard]] int descriptor() const { return descriptor_; }
  /// Its length, 0 when that cannot be known.
  [[nodiscard]] std::uint64_t size() const {
    struct stat status = {};
    const bool known = fstat(descriptor_, &status) == 0 && S_ISREG(status.st_mode);
    return known ? static_cast<std::uint64_t>(status.st_size) : 0;
  }

 private:
  int descriptor_ = STDIN_FILENO;
};

void list(const Call& call) {
  const JobFile file(call.job);
  ByteSource source(file.descriptor());
  const auto writer = call.json ? makeJsonWriter(std::cout) : makeTextWriter(std::cout);
  listJob(source, *writer);
}

void check(const Call& call) {
  const JobFile file(call.job);
  ByteSource source(file.descriptor());
  const JobSummary summary = JobCheck(source).run();
  std::cout << call.job << ": good: " << counted(summary.pages, "page") << ", " << counted(summary.strips, "strip")
            << ", " << counted(summary.bytes, "byte") << '\n';
}

void drawPages(const Call& call) {
  const JobFile file(call.job);
  ByteSource source(file.descriptor());
  Progress progress(file.size());
  PagePictures pictures(call.pictures, [&](std::uint64_t page) { progress.show(page, source.offset()); });
  try {
    JobCheck(source, &pictures).run();
  } catch (const Fault&) {
    progress.clear();
    pictures.finish();  // what came before the fault shows where it is
    throw;
  }
  pictures.finish();
}

/// The N of "1/N", or nothing.
std::optional<unsigned> parseScale(const std::string& text) {
  constexpr std::string_view ONE_OF = "1/";
  if (text == "1") return 1;
  if (!text.starts_with(ONE_OF)) return std::nullopt;
  unsigned scale = 0;
  const char* const end = text.data() + text.size();
  const auto parsed = std::from_chars(text.data() + ONE_OF.size(), end, scale);
  const bool good = parsed.ec == std::errc() && parsed.ptr == end && scale >= 1 && scale <= SMALLEST_SCALE;
  return good ? std::optional(scale) : std::nullopt;
}

std::string scaleError(const std::string& text) {
  return parseScale(text) ? "" : "takes 1/N, with N from 1 to 256";
}

/// Puts the command line together; a command's callback has set `run` when it was called for.
void declare(CLI::App& app, Call& call, void (*&run)(const Call&)) {
  app.require_subcommand(1);
  app.footer(
      "JOB is a file, or - for standard input.\nExit status: 0 good, 1 a fault or a file that cannot be used, "
      "2 a wrong call.");

  CLI::App* const lists = app.add_subcommand("list", "List the job's elements, one a line");
  lists->add_option("JOB", call.job, "The job")->required();
  lists->add_flag("--json", call.json, "As a JSON array, one object a line");
  lists->callback([&run] { run = list; });

  CLI::App* const checks = app.add_subcommand("check", "Judge the job strictly and show its first fault");
  checks->add_option("JOB", call.job, "The job")->required();
  checks->callback([&run] { run = check; });

  CLI::App* const pages = app.add_subcommand("pages", "Draw the job's pages");
  pages->add_option("JOB", call.job, "The job")->required();
  pages->add_option("-o", call.pictures.folder, "Write each page as a PNG file into this folder")->type_name("DIR");
  pages->add_option("--sheet", call.pictures.sheet, "Write one PNG file of all pages, small and numbered")
      ->type_name("FILE.png");
  pages->add_option("--scale", call.scale, "Draw at 1/N of the size")->type_name("1/N")->check(scaleError);
  pages->add_flag("--tags", call.pictures.tags, "Show the tag plane in colours instead of the image");
  pages->callback([&] {
    if (call.pictures.folder.empty() && call.pictures.sheet.empty()) {
      throw CLI::ValidationError("pages", "needs -o DIR or --sheet FILE.png");
    }
    if (!call.scale.empty()) call.pictures.scale = parseScale(call.scale);
    run = drawPages;
  });
}

ExitStatus runCall(const Call& call, void (*run)(const Call&)) {
  std::cout.sync_with_stdio(false);
  std::string trouble;
  try {
    run(call);
  } catch (const Fault& fault) {
    trouble = call.job + ": offset " + std::to_string(fault.offset()) + ": " + fault.what();
  } catch (const FileError& error) {
    trouble = call.job + ": " + error.what();
  } catch (const std::bad_alloc&) {
    trouble = call.job + ": out of memory";
  }
  std::cout.flush();
  if (!trouble.empty()) std::cerr << "kestojob: " << trouble << '\n';
  if (!std::cout) std::cerr << "kestojob: standard output cannot be written\n";
  return trouble.empty() && std::cout ? GOOD : BAD;
}

}  // namespace
}  // namespace kesto::job

// Only a lack of memory can be thrown past the calls below, and it may end the program.
int main(int argc, char** argv) {  // NOLINT(bugprone-exception-escape)
  using namespace kesto::job;
  Call call;
  void (*run)(const Call&) = nullptr;
  CLI::App app("Lists, checks and shows what is in a printer job.", "kestojob");
  declare(app, call, run);
  if (const auto status = kesto::tools::parseCommandLine(app, argc, argv)) return *status;
  return runCall(call, run);
}
