// Runs the built filter the way the spooler does.
#pragma once

#include <string>

#include "support/jobparser.h"
#include "support/process.h"

namespace kesto::test {

/// One call of the filter. The renderer is the stand-in, whose document is a recipe, unless `realRenderer` is set.
struct FilterCall {
  std::string document{};  ///< the text of the document
  std::string options{};
  std::string copies = "1";
  std::string title = "A title";
  std::string deviceUri = "socket://printer.invalid:9100";
  std::string fileType{};        ///< CUPS_FILETYPE; empty: not set
  bool onStandardInput = false;  ///< without a file name argument
  bool realRenderer = false;
  std::string ppd = KESTO_PPD;
  std::string serverBin{};  ///< overrides CUPS_SERVERBIN
  bool rendered = false;    ///< the document is a raster, for rastertokesto
};

/// The command of a call; files that it needs go to `folder`, which also serves for its temporary files.
[[nodiscard]] Command filterCommand(const FilterCall& call, const TemporaryFolder& folder);

/// The same call with what the stand-in renderer makes of its document, for rastertokesto.
[[nodiscard]] FilterCall renderedCall(FilterCall call);

/// Runs the filter and checks what holds for every run: it ends within the time-out, not by a signal, leaves no
/// temporary file and no process behind, and what it has written, if anything, is a job that the job reader finds good.
[[nodiscard]] Outcome runFilter(const FilterCall& call);

/// Expects that a run with this folder has left no temporary file and no process behind.
void expectNothingLeft(const TemporaryFolder& folder);

/// The job without its date, which changes from run to run.
[[nodiscard]] Bytes withoutDate(const Bytes& job);

/// Runs the filter, expects exit status 0 and no "ERROR:" line, and takes the job apart.
[[nodiscard]] Job printJob(const FilterCall& call);

}  // namespace kesto::test
