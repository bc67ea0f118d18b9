#include "filter/document/pdfdocument.h"

#include <utility>

#include "filter/document/pdfinspector-linux.h"
#include "filter/joberror.h"

namespace kesto {

InspectedPdf::InspectedPdf(InputFile file) : file_(std::move(file)), name_(file_.name()) {
  const int error = inspection_.start(process_pdf_thread, name_.data());
  if (error != 0) failJobWithText("ERROR: Unable to ran process_pdf_thread!", error);
}

InspectedPdf::~InspectedPdf() {
  inspection_.join();
  pdfDestroyPages(&pages);
}

PdfDocument::PdfDocument(InputFile file, const char* serverBin, char* const argv[])
    : InspectedPdf(std::move(file)), Renderer(serverBin, argv, file_.name()) {
  inspection_.join();
}

}  // namespace kesto
