#include "kestodoctor/reportwriter.h"

#include <iomanip>

#include <nlohmann/json.hpp>

namespace kesto::doctor {
namespace {

const char* nameOf(State state) {
  switch (state) {
    case State::GOOD:
      return "ok";
    case State::WRONG:
      return "wrong";
    case State::SKIPPED:
      break;
  }
  return "skipped";
}

class TextReport : public ReportWriter {
 public:
  explicit TextReport(std::ostream& out) : out_(out) {}

  void add(const std::string& /*queue*/, std::string_view /*check*/, const Finding& finding) override {
    out_ << std::left << std::setw(COLUMN) << nameOf(finding.state) << finding.what << '\n';
    if (!finding.remedy.empty()) out_ << std::setw(COLUMN) << "" << finding.remedy << '\n';
    out_.flush();  // the next check may take its time
  }

 private:
  static constexpr int COLUMN = 8;
  std::ostream& out_;
};

class JsonReport : public ReportWriter {
 public:
  explicit JsonReport(std::ostream& out) : out_(out) {}

  void add(const std::string& queue, std::string_view check, const Finding& finding) override {
    nlohmann::ordered_json object = {{"check", check}};
    if (!queue.empty()) object["queue"] = queue;
    object["state"] = nameOf(finding.state);
    object["what"] = finding.what;
    if (!finding.remedy.empty()) object["remedy"] = finding.remedy;
    out_ << (first_ ? "[\n" : ",\n") << object.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    first_ = false;
  }
  void finish() override { out_ << (first_ ? "[]\n" : "\n]\n"); }

 private:
  std::ostream& out_;
  bool first_ = true;
};

}  // namespace

std::unique_ptr<ReportWriter> makeTextReport(std::ostream& out) {
  return std::make_unique<TextReport>(out);
}

std::unique_ptr<ReportWriter> makeJsonReport(std::ostream& out) {
  return std::make_unique<JsonReport>(out);
}

}  // namespace kesto::doctor
