#include "support/greypdf.h"

#include <array>
#include <cstdio>
#include <vector>

namespace kesto::test {
namespace {

/// A line of the cross-reference table for an object at `offset`: 20 bytes.
std::string tableEntry(std::size_t offset) {
  std::array<char, 24> text;
  std::snprintf(text.data(), text.size(), "%010zu 00000 n \n", offset);
  return text.data();
}

}  // namespace

std::string greyPdf(int count) {
  // Objects 1 and 2 are the catalogue and the page tree; each page has two, itself and its contents.
  std::vector<std::string> objects(2);
  objects[0] = "<</Type/Catalog/Pages 2 0 R>>";
  std::string kids;
  for (int page = 1; page <= count; ++page) {
    const std::string contents = std::to_string(10.0 * page / 255.0) + " g 0 0 612 792 re f";
    kids += std::to_string(objects.size() + 1) + " 0 R ";
    objects.push_back("<</Type/Page/Parent 2 0 R/MediaBox[0 0 612 792]/Contents " + std::to_string(objects.size() + 2) +
                      " 0 R>>");
    objects.push_back("<</Length " + std::to_string(contents.size()) + ">>stream\n" + contents + "\nendstream");
  }
  objects[1] = "<</Type/Pages/Count " + std::to_string(count) + "/Kids[" + kids + "]>>";

  std::string pdf = "%PDF-1.4\n";
  std::string table = "0000000000 65535 f \n";
  for (std::size_t i = 0; i < objects.size(); ++i) {
    table += tableEntry(pdf.size());
    pdf += std::to_string(i + 1) + " 0 obj\n" + objects[i] + "\nendobj\n";
  }
  const std::string entries = std::to_string(objects.size() + 1);
  return pdf + "xref\n0 " + entries + "\n" + table + "trailer\n<</Size " + entries + "/Root 1 0 R>>\nstartxref\n" +
         std::to_string(pdf.size()) + "\n%%EOF\n";
}

}  // namespace kesto::test
