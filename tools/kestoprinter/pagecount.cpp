#include "kestoprinter/pagecount.h"

#include <stdexcept>
#include <variant>

#include <fcntl.h>

#include "base/descriptor.h"
#include "kestojob/reader/bytesource.h"
#include "kestojob/reader/elementreader.h"
#include "pclxl/xlnames.h"

namespace kesto::printer {

std::uint32_t pagesIn(const std::string& file) {
  const Descriptor descriptor(open(file.c_str(), O_RDONLY | O_CLOEXEC));
  if (descriptor.get() < 0) return 0;
  std::uint32_t pages = 0;
  try {
    job::ByteSource source(descriptor.get());
    do {
      job::ElementReader elements(source);
      while (const auto element = elements.next()) {
        const auto* const operation = std::get_if<job::Operator>(&*element);
        if (operation != nullptr && operation->code == xl::op::EndPage) ++pages;
      }
    } while (source.nextJob());
  } catch (const std::runtime_error&) {  // a fault in the job: the printer has stopped there
  }
  return pages;
}

}  // namespace kesto::printer
