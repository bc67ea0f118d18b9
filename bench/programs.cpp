#include "programs.h"

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <utility>

#include "documents.h"

namespace kesto::bench {
namespace {

constexpr const char* SERVERBIN = "/usr/lib/cups";

// What tells rastertopclx to print 24-bit RGB, or planes of inks with the colours described first.
constexpr unsigned MODEL_RGB24 = 0x1000;
constexpr unsigned MODEL_DESCRIBED = 0x200;

/// A filter's call as the spooler makes it. The document is left out where it comes through standard input.
Command filterCall(const std::string& path, const std::string& serverBin, const Setup& setup,
                   const std::string& document) {
  Command program{.program = path,
                  .arguments = {"Bench", "1", "bench", "Benchmark", "1", setup.options},
                  .environment = {{"PATH", "/usr/sbin:/usr/bin:/sbin:/bin"},
                                  {"PPD", setup.ppd},
                                  {"CUPS_SERVERBIN", serverBin},
                                  {"DEVICE_URI", "file:///dev/null"},
                                  {"CONTENT_TYPE", "application/pdf"},
                                  {"CHARSET", "utf-8"}}};
  if (!document.empty()) program.arguments.push_back(document);
  return program;
}

std::string spoolerFilter(const char* name) {
  return std::string(SERVERBIN) + "/filter/" + name;
}

}  // namespace

Programs::Programs(std::string folder) : folder_(std::move(folder)) {
  std::filesystem::remove_all(folder_);
  std::filesystem::create_directories(folder_);
}

Programs::~Programs() {
  std::error_code ignored;
  std::filesystem::remove_all(folder_, ignored);
}

Setup Programs::product() {
  return {KESTO_PPD};
}

Setup Programs::rgbPrinter(unsigned dpi) const {
  return {write("rgb.ppd", makePrinterDescription(MODEL_RGB24)), "Resolution=" + std::to_string(dpi) + "dpi"};
}

Setup Programs::inkPrinter() const {
  return {write("inks.ppd", makePrinterDescription(MODEL_DESCRIBED) + "*cupsInkChannels RGB: \"4\"\n")};
}

std::string Programs::write(const std::string& name, const std::string& text) const {
  std::string path = folder_ + "/" + name;
  std::ofstream file(path, std::ios::binary);
  if (!(file << text).flush()) throw std::runtime_error("cannot write " + path);
  return path;
}

std::string Programs::render(const Setup& setup, const std::string& document, const std::string& name) const {
  std::string path = folder_ + "/" + name;
  runIntoFile(renderer(setup, document), path);
  return path;
}

Command Programs::renderer(const Setup& setup, const std::string& document) {
  return filterCall(spoolerFilter("pdftoraster"), SERVERBIN, setup, document);
}

Command Programs::filter(const Setup& setup, const std::string& document) {
  return filterCall(KESTO_FILTER, SERVERBIN, setup, document);
}

std::string Programs::replayDocument(const std::string& raster, unsigned times) const {
  return write("replay", std::to_string(times) + ' ' + raster);
}

Command Programs::filterOnRaster(const std::string& raster, unsigned times) const {
  return filterCall(KESTO_FILTER, REPLAY_SERVERBIN, product(), replayDocument(raster, times));
}

Command Programs::replay(const std::string& raster, unsigned times) const {
  return filterCall(std::string(REPLAY_SERVERBIN) + "/filter/pdftoraster", REPLAY_SERVERBIN, product(),
                    replayDocument(raster, times));
}

Command Programs::rasterToPcl(const Setup& setup) {
  return filterCall(spoolerFilter("rastertopclx"), SERVERBIN, setup, {});
}

}  // namespace kesto::bench
