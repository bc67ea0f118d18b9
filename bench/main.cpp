// The benchmark: ratios that are measured side by side, each beside its target. See docs/performance.md.
//   kesto_bench WORK_FOLDER JSON_FILE
#include <cstdio>
#include <exception>
#include <fstream>

#include <signal.h>

#include "measurements.h"

int main(int argc, char* argv[]) {
  using namespace kesto::bench;
  if (argc != 3) {
    std::fprintf(stderr, "usage: %s WORK_FOLDER JSON_FILE\n", argv[0]);
    return 2;
  }
  try {
    signal(SIGPIPE, SIG_IGN);
    const Programs programs(argv[1]);
    Report report;
    measureEncoding(report);
    measureJobs(programs, report);
    measureGrowth(programs, report);
    measureStages(programs, report);
    std::fputs(report.asText().c_str(), stdout);
    if (!(std::ofstream(argv[2]) << report.asJson())) throw std::runtime_error(std::string("cannot write ") + argv[2]);
    return 0;
  } catch (const std::exception& problem) {
    std::fprintf(stderr, "%s: %s\n", argv[0], problem.what());
    return 1;
  }
}
