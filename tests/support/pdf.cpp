#include "support/pdf.h"

#include <sstream>

namespace kesto::test {
namespace {

/// Objects 1, 2, ... as a file; object 1 is the catalogue.
std::string pdfOfObjects(const std::vector<std::string>& objects) {
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

}  // namespace

std::string streamObject(const std::string& entries, const std::string& data) {
  return "<<" + entries + "/Length " + std::to_string(data.size()) + ">>\nstream\n" + data + "\nendstream";
}

std::string pdfOfPages(int width, int height, const std::string& resources, const std::vector<std::string>& contents,
                       const std::vector<std::string>& sharedObjects) {
  std::vector<std::string> objects = {"<</Type/Catalog/Pages 2 0 R>>", ""};
  objects.insert(objects.end(), sharedObjects.begin(), sharedObjects.end());
  std::string kids;
  for (const std::string& content : contents) {
    const std::size_t page = objects.size() + 1;
    kids += std::to_string(page) + " 0 R ";
    objects.push_back("<</Type/Page/Parent 2 0 R/Resources<<" + resources + ">>/Contents " + std::to_string(page + 1) +
                      " 0 R>>");
    objects.push_back(streamObject("", content));
  }
  objects[1] = "<</Type/Pages/MediaBox[0 0 " + std::to_string(width) + ' ' + std::to_string(height) + "]/Count " +
               std::to_string(contents.size()) + "/Kids[" + kids + "]>>";
  return pdfOfObjects(objects);
}

std::string pdfOf(int width, int height, const std::vector<double>& greys) {
  std::vector<std::string> contents;
  for (const double grey : greys) {
    std::ostringstream content;
    content << grey << " g 0 0 " << width << ' ' << height << " re f";
    contents.push_back(content.str());
  }
  return pdfOfPages(width, height, "", contents, {});
}

}  // namespace kesto::test
