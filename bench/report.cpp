#include "report.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iomanip>
#include <sstream>
#include <thread>
#include <utility>

#include <jpeglib.h>

namespace kesto::bench {
namespace {

[[gnu::format(printf, 1, 2)]] std::string format(const char* pattern, ...) {
  va_list arguments;
  va_start(arguments, pattern);
  char text[256];
  std::vsnprintf(text, sizeof text, pattern, arguments);
  va_end(arguments);
  return text;
}

std::string processorName() {
  std::ifstream file("/proc/cpuinfo");
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with("model name")) return line.substr(line.find(": ") + 2);
  }
  return "unknown processor";
}

/// What it was measured on, and how busy that was with other work when it began.
std::string machine(double load) {
  return format("%s, %u cores, libjpeg-turbo %d.%d.%d, load average %.1f at the start", processorName().c_str(),
                std::thread::hardware_concurrency(), LIBJPEG_TURBO_VERSION_NUMBER / 1000000,
                LIBJPEG_TURBO_VERSION_NUMBER / 1000 % 1000, LIBJPEG_TURBO_VERSION_NUMBER % 1000, load);
}

double loadAverage() {
  double load = 0;
  return getloadavg(&load, 1) == 1 ? load : 0;
}

/// Three figures that count, as a rule.
std::string figure(double value) {
  return format(value >= 100 ? "%.0f" : value >= 10 ? "%.1f" : "%.2f", value);
}

std::string rowText(const Row& row) {
  return format("  %-34s %9s %14s %7.2f   %s %-5.4g  %s\n", row.kind.c_str(), figure(row.measured.ours).c_str(),
                figure(row.measured.theirs).c_str(), row.measured.ratio,
                row.bound == Bound::AT_LEAST ? ">=" : "<=", row.target, row.isMet() ? "met" : "NOT MET");
}

/// Writes the elements as a JSON array, each as `write` does it.
template <class Element, class Write>
void writeArray(std::ostream& json, const std::vector<Element>& elements, Write write) {
  const char* separator = "\n";
  json << '[';
  for (const Element& element : elements) {
    json << std::exchange(separator, ",\n");
    write(element);
  }
  json << ']';
}

void writeTable(std::ostream& json, const Table& table) {
  json << "{\"title\": " << std::quoted(table.title) << ", \"unit\": " << std::quoted(table.unit)
       << ", \"theirs\": " << std::quoted(table.theirs) << ", \"rows\": ";
  writeArray(json, table.rows, [&](const Row& row) {
    json << "{\"kind\": " << std::quoted(row.kind) << ", \"ours\": " << row.measured.ours
         << ", \"theirs\": " << row.measured.theirs << ", \"ratio\": " << row.measured.ratio
         << ", \"bound\": " << (row.bound == Bound::AT_LEAST ? "\"at least\"" : "\"at most\"")
         << ", \"target\": " << row.target << ", \"met\": " << (row.isMet() ? "true" : "false") << '}';
  });
  json << '}';
}

void writeSeries(std::ostream& json, const Series& series) {
  json << "{\"name\": " << std::quoted(series.name) << ", \"unit\": " << std::quoted(series.unit) << ", \"values\": ";
  writeArray(json, series.values,
             [&](const auto& value) { json << '[' << std::quoted(value.first) << ", " << value.second << ']'; });
  json << '}';
}

}  // namespace

Report::Report() : loadAtStart_(loadAverage()) {}

std::string Report::asText() const {
  std::string text = machine(loadAtStart_);
  text += '\n';
  for (const Table& table : tables) {
    text.append("\n").append(table.title).append(", ").append(table.unit).append("\n");
    text += format("  %-34s %9s %14s %7s   %s\n", "kind", "ours", table.theirs.c_str(), "ratio", "target");
    for (const Row& row : table.rows) text += rowText(row);
  }
  return text;
}

std::string Report::asJson() const {
  std::ostringstream json;
  json << "{\"machine\": " << std::quoted(machine(loadAtStart_)) << ",\n\"tables\": ";
  writeArray(json, tables, [&](const Table& table) { writeTable(json, table); });
  json << ",\n\"series\": ";
  writeArray(json, series, [&](const Series& one) { writeSeries(json, one); });
  json << "}\n";
  return json.str();
}

void tellProgress(const std::string& what) {
  std::fprintf(stderr, "measuring: %s\n", what.c_str());
}

}  // namespace kesto::bench
