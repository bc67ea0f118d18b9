// The programs that are measured, with their documents and settings.
#pragma once

#include <string>

#include "process.h"

namespace kesto::bench {

/// A printer description, and the choices that go with it.
struct Setup {
  std::string ppd;
  std::string options{};
};

/// Commands, and a folder for what they work on, which is emptied at first and goes with the object.
class Programs {
 public:
  explicit Programs(std::string folder);
  Programs(const Programs&) = delete;
  Programs& operator=(const Programs&) = delete;
  ~Programs();

  /// The printer description of the product.
  [[nodiscard]] static Setup product();
  /// The other printer, which has all resolutions, as a direct RGB printer or as one with a plane for each ink.
  [[nodiscard]] Setup rgbPrinter(unsigned dpi = 600) const;
  [[nodiscard]] Setup inkPrinter() const;

  /// Writes a file into the folder and returns its path.
  [[nodiscard]] std::string write(const std::string& name, const std::string& text) const;
  /// Renders a document once and keeps the raster; returns its path.
  [[nodiscard]] std::string render(const Setup& setup, const std::string& document, const std::string& name) const;

  [[nodiscard]] static Command renderer(const Setup& setup, const std::string& document);
  [[nodiscard]] static Command filter(const Setup& setup, const std::string& document);
  /// The filter with a renderer that has rendered before: `raster`, `times` times.
  [[nodiscard]] Command filterOnRaster(const std::string& raster, unsigned times) const;
  /// That renderer by itself, and what makes its output come where it is wanted.
  [[nodiscard]] Command replay(const std::string& raster, unsigned times) const;
  [[nodiscard]] std::string replayDocument(const std::string& raster, unsigned times) const;
  /// The spooler's filter from raster to PCL.
  [[nodiscard]] static Command rasterToPcl(const Setup& setup);

 private:
  std::string folder_;
};

/// The folder in which the replaying renderer stands as the filter looks for one.
inline constexpr const char* REPLAY_SERVERBIN = KESTO_REPLAY_SERVERBIN;

}  // namespace kesto::bench
