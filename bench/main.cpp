// The benchmark: ratios that are measured side by side, each beside its target. See docs/performance.md.
//   kesto_bench WORK_FOLDER JSON_FILE [encoding|jobs|growth|stages]...     without a choice all of them
#include <array>
#include <cstdio>
#include <exception>
#include <fstream>
#include <functional>
#include <stdexcept>

#include <signal.h>

#include "measurements.h"

namespace {

using namespace kesto::bench;

struct Part {
  const char* name;
  std::function<void(const Programs&, Report&)> measure;
};

void runParts(const Programs& programs, const std::vector<std::string>& wanted, Report& report) {
  const std::array parts{Part{"encoding", [](const Programs&, Report& into) { measureEncoding(into); }},
                         Part{"jobs", measureJobs}, Part{"growth", measureGrowth}, Part{"stages", measureStages}};
  for (const Part& part : parts) {
    if (wanted.empty() || std::ranges::find(wanted, part.name) != wanted.end()) part.measure(programs, report);
  }
}

}  // namespace

int main(int argc, char* argv[]) {
  if (argc < 3) {
    std::fprintf(stderr, "usage: %s WORK_FOLDER JSON_FILE [encoding|jobs|growth|stages]...\n", argv[0]);
    return 2;
  }
  try {
    signal(SIGPIPE, SIG_IGN);
    const Programs programs(argv[1]);
    Report report;
    runParts(programs, {argv + 3, argv + argc}, report);
    std::fputs(report.asText().c_str(), stdout);
    std::ofstream json(argv[2]);
    if (!(json << report.asJson()).flush()) throw std::runtime_error(std::string("cannot write ") + argv[2]);
    return 0;
  } catch (const std::exception& problem) {
    std::fprintf(stderr, "%s: %s\n", argv[0], problem.what());
    return 1;
  }
}
