// kestojob: lists, checks and shows what is in a printer job.
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "commandline.h"
#include "kestojob/commands.h"
#include "kestojob/jobtask.h"
#include "kestojob/pageselection.h"

namespace kesto::job {
namespace {

enum ExitStatus { GOOD = 0, BAD = 1 };

constexpr unsigned SMALLEST_SCALE = 256;

/// What was asked for on the command line.
struct Call {
  std::vector<std::string> files;
  bool json = false;
  std::string scale;
  std::string pages;
  PictureChoices pictures;
};

using TaskMaker = std::unique_ptr<JobTask> (*)(const Call&);

/// The N of "1/N", or nothing.
std::optional<unsigned> parseScale(const std::string& text) {
  constexpr std::string_view ONE_OF = "1/";
  if (text == "1") return 1;
  if (!text.starts_with(ONE_OF)) return std::nullopt;
  return tools::wholeNumber(std::string_view(text).substr(ONE_OF.size()), {1, SMALLEST_SCALE});
}

std::string scaleError(const std::string& text) {
  return parseScale(text) ? "" : "takes 1/N, with N from 1 to 256";
}

std::string pagesError(const std::string& text) {
  return PageSelection::parse(text) ? "" : "takes page numbers and ranges, as 1,3-5";
}

std::string sheetError(const std::string& name) {
  return name == "-" || name.ends_with(".png") ? "" : "takes a name that ends in .png, or - for standard output";
}

void declarePages(CLI::App& app, Call& call, TaskMaker& maker) {
  CLI::App* const pages = app.add_subcommand("pages", "Draw the pages of the file's jobs");
  pages->add_option("FILE", call.files, "The jobs")->required()->expected(1);
  pages->add_option("-o", call.pictures.folder, "Write each page as a PNG file into this folder")->type_name("DIR");
  pages->add_option("--sheet", call.pictures.sheet, "Write one PNG file of all pages, small and numbered")
      ->type_name("FILE.png")
      ->check(sheetError);
  pages->add_option("--pages", call.pages, "Draw only these pages, as 1,3-5")->type_name("LIST")->check(pagesError);
  pages->add_option("--scale", call.scale, "Draw at 1/N of the size")->type_name("1/N")->check(scaleError);
  pages->add_flag("--tags", call.pictures.tags, "Show the tag plane in colours instead of the image");
  pages->callback([&] {
    if (call.pictures.folder.empty() && call.pictures.sheet.empty()) {
      throw CLI::ValidationError("pages", "needs -o DIR or --sheet FILE.png");
    }
    if (!call.scale.empty()) call.pictures.scale = parseScale(call.scale);
    if (!call.pages.empty()) call.pictures.pages = *PageSelection::parse(call.pages);
    maker = [](const Call& c) { return makePagesTask(c.pictures); };
  });
}

/// Puts the command line together; a command's callback has set `maker` when it was called for.
void declare(CLI::App& app, Call& call, TaskMaker& maker) {
  app.require_subcommand(1);
  app.footer(
      "FILE holds one or more jobs; - is standard input.\n"
      "Exit status: 0 good, 1 a fault or a file that cannot be used, 2 a wrong call.");

  CLI::App* const lists = app.add_subcommand("list", "List the elements of the file's jobs, one a line");
  lists->add_option("FILE", call.files, "The jobs")->required()->expected(1);
  lists->add_flag("--json", call.json, "As a JSON array, one object a line");
  lists->callback([&] { maker = [](const Call& c) { return makeListTask(c.json); }; });

  CLI::App* const checks = app.add_subcommand("check", "Judge the jobs strictly and show the first fault of each");
  checks->add_option("FILE", call.files, "The jobs")->required();
  checks->callback([&] { maker = [](const Call&) { return makeCheckTask(); }; });

  CLI::App* const infos = app.add_subcommand("info", "Show what each job is: title, options, paper, size");
  infos->add_option("FILE", call.files, "The jobs")->required();
  infos->callback([&] { maker = [](const Call&) { return makeInfoTask(); }; });

  declarePages(app, call, maker);
}

ExitStatus runCall(const Call& call, TaskMaker maker) {
  std::cout.sync_with_stdio(false);
  const bool good = runOnFiles(call.files, [&] { return maker(call); });
  std::cout.flush();
  if (!std::cout) complain("standard output cannot be written");
  return good && std::cout ? GOOD : BAD;
}

}  // namespace
}  // namespace kesto::job

// Only a lack of memory can be thrown past the calls below, and it may end the program.
int main(int argc, char** argv) {  // NOLINT(bugprone-exception-escape)
  using namespace kesto::job;
  Call call;
  TaskMaker maker = nullptr;
  CLI::App app("Lists, checks and shows what is in a printer job.", "kestojob");
  declare(app, call, maker);
  if (const auto status = kesto::tools::parseCommandLine(app, argc, argv)) return *status;
  return runCall(call, maker);
}
