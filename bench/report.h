// What was measured: tables with a target for each row, for people and as JSON, and the series that plots are drawn of.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "comparison.h"

namespace kesto::bench {

enum class Bound : unsigned char { AT_LEAST, AT_MOST };

struct Row {
  std::string kind;
  Comparison measured;
  Bound bound;
  double target;  ///< of the ratio

  [[nodiscard]] bool isMet() const {
    return bound == Bound::AT_LEAST ? measured.ratio >= target : measured.ratio <= target;
  }
};

/// Rows of the same unit.
struct Table {
  std::string title;
  std::string unit;
  std::string theirs;  ///< what it is compared with
  std::vector<Row> rows;
};

/// Named values: a line or the parts of a bar in a plot.
struct Series {
  std::string name;
  std::string unit;
  std::vector<std::pair<std::string, double>> values;
};

class Report {
 public:
  /// Begun before anything is measured.
  Report();

  std::vector<Table> tables;
  std::vector<Series> series;

  /// The tables as text, with a line on what they were measured with.
  [[nodiscard]] std::string asText() const;
  /// All of it.
  [[nodiscard]] std::string asJson() const;

 private:
  double loadAtStart_;
};

/// Tells on standard error what is being measured.
void tellProgress(const std::string& what);

}  // namespace kesto::bench
