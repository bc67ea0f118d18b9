// The PDF page source: what the job could learn from the document itself, besides the raster.
//
// This platform has no source of page objects, so the list stays empty and every pixel carries the same tag. The
// inspection runs on a thread of its own, which is joined before the first raster header is read; `pages` belongs to
// that thread until then and to the job thread afterwards.
#pragma once

#include <cstdint>
#include <vector>

namespace kesto {

/// A page of the document, as far as the page source knows it.
struct PdfPage {
  float width = 0;   ///< points
  float height = 0;  ///< points
};

/// The document's pages; empty when the page source delivers none.
extern std::vector<PdfPage>* pages;

/// Asks for the page list of the PDF file `name` and stores it in `list`. Returns true on success, which on this
/// platform delivers no pages.
[[nodiscard]] bool pdfGetPages(const char* name, std::vector<PdfPage>** list);

/// Releases a list that pdfGetPages delivered, and forgets it.
void pdfDestroyPages(std::vector<PdfPage>** list);

/// The number of pages in `pages`.
[[nodiscard]] std::int32_t getTotalPDFPages();

/// Thread body: fills `pages` for the PDF file whose name `fileName` points at.
void* process_pdf_thread(void* fileName);

}  // namespace kesto
