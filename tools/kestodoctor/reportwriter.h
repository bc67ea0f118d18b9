// The findings as lines for a person, or as JSON for a program.
#pragma once

#include <memory>
#include <ostream>
#include <string>
#include <string_view>

#include "kestodoctor/finding.h"

namespace kesto::doctor {

class ReportWriter {
 public:
  ReportWriter() = default;
  ReportWriter(const ReportWriter&) = delete;
  ReportWriter& operator=(const ReportWriter&) = delete;
  virtual ~ReportWriter() = default;

  virtual void add(const std::string& queue, std::string_view check, const Finding& finding) = 0;
  virtual void finish() {}
};

/// "ok      the queue accepts jobs", with the remedy on a line of its own.
[[nodiscard]] std::unique_ptr<ReportWriter> makeTextReport(std::ostream& out);

/// An array with an object a line: check, queue, state, what, remedy. What does not apply is left out.
[[nodiscard]] std::unique_ptr<ReportWriter> makeJsonReport(std::ostream& out);

}  // namespace kesto::doctor
