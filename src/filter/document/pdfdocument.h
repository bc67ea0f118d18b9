// A PDF as the job's document: the file, its inspection, and the renderer that makes a raster of it.
#pragma once

#include <string>

#include "base/thread.h"
#include "filter/document/inputfile.h"
#include "filter/document/renderer.h"

namespace kesto {

/// The file, and the thread that asks the PDF page source for its pages.
class InspectedPdf {
 protected:
  /// Ends the job when the thread cannot be made.
  explicit InspectedPdf(InputFile file);
  InspectedPdf(const InspectedPdf&) = delete;
  InspectedPdf& operator=(const InspectedPdf&) = delete;
  ~InspectedPdf();

  InputFile file_;

 private:
  friend class PdfDocument;
  std::string name_;  ///< for the thread
  Thread inspection_;
};

/// The renderer and what it renders.
class PdfDocument : private InspectedPdf, public Renderer {
 public:
  /// Starts the renderer in "`serverBin`/filter" with the job's arguments while the file is inspected. Ends the job
  /// when a thread or a process cannot be made.
  PdfDocument(InputFile file, const char* serverBin, char* const argv[]);
};

}  // namespace kesto
