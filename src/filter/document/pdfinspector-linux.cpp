#include "filter/document/pdfinspector-linux.h"

#include "base/report.h"

namespace kesto {

constinit std::vector<PdfPage>* pages = nullptr;

bool pdfGetPages(const char* name, std::vector<PdfPage>** list) {
  *list = nullptr;
  return name != nullptr;
}

void pdfDestroyPages(std::vector<PdfPage>** list) {
  delete *list;
  *list = nullptr;
}

std::int32_t getTotalPDFPages() {
  return pages == nullptr ? 0 : static_cast<std::int32_t>(pages->size());
}

void* process_pdf_thread(void* fileName) {
  if (!pdfGetPages(static_cast<const char*>(fileName), &pages)) pdfDestroyPages(&pages);
  report("pages is:%d\n", getTotalPDFPages());
  return nullptr;
}

}  // namespace kesto
