#include "support/pdf.h"

#include <sstream>

namespace kesto::test {

std::string pdfOf(int width, int height, const std::vector<double>& greys) {
  std::ostringstream kids;
  std::vector<std::string> objects = {"<</Type/Catalog/Pages 2 0 R>>", ""};
  for (const double grey : greys) {
    const std::size_t page = objects.size() + 1;
    kids << page << " 0 R ";
    std::ostringstream contents;
    contents << grey << " g 0 0 " << width << ' ' << height << " re f";
    objects.push_back("<</Type/Page/Parent 2 0 R/Resources<<>>/Contents " + std::to_string(page + 1) + " 0 R>>");
    objects.push_back("<</Length " + std::to_string(contents.str().size()) + ">>\nstream\n" + contents.str() +
                      "\nendstream");
  }
  objects[1] = "<</Type/Pages/MediaBox[0 0 " + std::to_string(width) + ' ' + std::to_string(height) + "]/Count " +
               std::to_string(greys.size()) + "/Kids[" + kids.str() + "]>>";

  std::string text = "%PDF-1.4\n";
  std::string table = "0000000000 65535 f \n";
  for (std::size_t i = 0; i < objects.size(); ++i) {
    const std::string offset = std::to_string(text.size());
    table += std::string(10 - offset.size(), '0') + offset + " 00000 n \n";
    text += std::to_string(i + 1) + " 0 obj\n" + objects[i] + "\nendobj\n";
  }
  const std::string count = std::to_string(objects.size() + 1);
  return text + "xref\n0 " + count + '\n' + table + "trailer<</Size " + count + "/Root 1 0 R>>\nstartxref\n" +
         std::to_string(text.size()) + "\n%%EOF\n";
}

}  // namespace kesto::test
