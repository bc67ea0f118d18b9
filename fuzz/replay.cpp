// Runs a fuzz target without a fuzzer: on every kept input of its corpus, and on so many made from them by a fixed
// sequence of changes. For ordinary builds, where each of the target's requirements is a test, and the digest of all
// that came out pins the rest.
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "require.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

using Bytes = std::vector<std::uint8_t>;

std::vector<Bytes> readCorpus(const char* folder) {
  std::set<std::filesystem::path> files;  // in an order that does not depend on the file system
  for (const auto& entry : std::filesystem::directory_iterator(folder)) files.insert(entry.path());
  std::vector<Bytes> inputs;
  for (const auto& file : files) {
    std::ifstream stream(file, std::ios::binary);
    inputs.emplace_back(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
  }
  return inputs;
}

/// Another input, of at most twice the length: bytes changed, cut out, repeated or taken from a second one.
Bytes change(Bytes input, const Bytes& other, std::mt19937& random) {
  for (auto changes = random() % 4 + 1; changes > 0; --changes) {
    const std::size_t at = input.empty() ? 0 : random() % input.size();
    const std::size_t count = std::min<std::size_t>(random() % 16 + 1, input.size() - at);
    const auto from = input.begin() + static_cast<std::ptrdiff_t>(at);
    const auto end = from + static_cast<std::ptrdiff_t>(count);
    switch (random() % 4) {
      case 0:
        input.erase(from, end);
        break;
      case 1:
        input.insert(from, other.begin(), other.begin() + static_cast<std::ptrdiff_t>(random() % (other.size() + 1)));
        break;
      default:
        for (auto byte = from; byte != end; byte += 1 + random() % 8 % std::max<std::ptrdiff_t>(end - byte, 1)) {
          *byte = static_cast<std::uint8_t>(random());
        }
    }
  }
  return input;
}

}  // namespace

int main(int argc, char* argv[]) {
  if (argc != 4) return 2;
  std::mt19937 random(1);
  const std::vector<Bytes> corpus = readCorpus(argv[1]);
  for (const Bytes& input : corpus) LLVMFuzzerTestOneInput(input.data(), input.size());
  for (int i = std::atoi(argv[2]); i > 0 && !corpus.empty(); --i) {
    const Bytes& other = corpus[random() % corpus.size()];
    const Bytes input = change(corpus[random() % corpus.size()], other, random);
    LLVMFuzzerTestOneInput(input.data(), input.size());
  }
  const std::string digest = kesto::fuzz::digest.text();
  std::printf("%zu kept inputs, digest %s\n", corpus.size(), digest.c_str());
  return !corpus.empty() && digest == argv[3] ? 0 : 1;
}
