#include "filter/document/rasterdocument.h"

#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

#include "base/descriptor.h"
#include "filter/joberror.h"

namespace kesto {
namespace {

constexpr char OPEN_FAILED[] = "ERROR: Unable to open the document";

}  // namespace

RasterDocument::RasterDocument(const char* name) {
  if (name != nullptr) {
    const Descriptor file(open(name, O_RDONLY | O_CLOEXEC));
    if (file.get() < 0 || dup2(file.get(), STDIN_FILENO) < 0) failJob(OPEN_FAILED, errno);
  }
  // The job thread has other things to do while no input arrives.
  const int flags = fcntl(STDIN_FILENO, F_GETFL);
  if (flags < 0 || fcntl(STDIN_FILENO, F_SETFL, flags | O_NONBLOCK) != 0) failJob(OPEN_FAILED, errno);
}

}  // namespace kesto
