// Standard input in tests and measurements that read a raster stream.
#pragma once

#include <unistd.h>

namespace kesto::test {

/// Keeps what is standard input while there is one: a raster stream takes its place and closes it, and what is opened
/// next would become standard input by accident.
class StandardInput {
 public:
  StandardInput() : kept_(dup(STDIN_FILENO)) {}
  StandardInput(const StandardInput&) = delete;
  StandardInput& operator=(const StandardInput&) = delete;
  ~StandardInput() {
    dup2(kept_, STDIN_FILENO);
    close(kept_);
  }

 private:
  int kept_;
};

}  // namespace kesto::test
