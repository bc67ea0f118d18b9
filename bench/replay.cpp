// A renderer that takes no time: its "document" holds a number and the path of a raster file, whose pages it delivers
// that many times. It stands where the filter looks for the spooler's renderer.
#include <fstream>
#include <string>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr off_t SYNC_WORD = 4;  // at the start of a raster stream, in front of its pages

bool send(const char* bytes, off_t count) {
  while (count > 0) {
    const ssize_t written = write(STDOUT_FILENO, bytes, static_cast<std::size_t>(count));
    if (written <= 0) return false;
    bytes += written;
    count -= written;
  }
  return true;
}

}  // namespace

int main(int argc, char* argv[]) {
  if (argc != 7) return 1;
  unsigned times = 0;
  std::string path;
  std::ifstream(argv[6]) >> times >> path;
  const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  struct stat status = {};
  if (file < 0 || fstat(file, &status) != 0 || status.st_size <= SYNC_WORD) return 1;
  void* raster = mmap(nullptr, static_cast<std::size_t>(status.st_size), PROT_READ, MAP_PRIVATE, file, 0);
  if (raster == MAP_FAILED) return 1;
  const auto* bytes = static_cast<const char*>(raster);
  if (!send(bytes, SYNC_WORD)) return 1;
  for (unsigned i = 0; i < times; ++i) {
    if (!send(bytes + SYNC_WORD, status.st_size - SYNC_WORD)) return 1;
  }
  return 0;
}
