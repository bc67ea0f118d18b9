// Writes small good jobs of every kind into a folder, for the fuzzer to start from.
//   fuzz_jobseeds FOLDER
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "kestojob/samplejob.h"

int main(int argc, char** argv) {
  using namespace kesto::test;
  if (argc != 2) return 2;
  const SampleChoices choices[] = {
      {.pages = 1},
      {.pages = 1, .tall = false},
      {.pages = 1, .custom = true, .tall = false},
      {.usb = true, .pages = 2, .tall = false},
      {.color = false, .pages = 1, .tall = false, .band = GREY_WHITE},
      {.color = false, .pages = 2, .tall = false, .band = GREY_BLACK},
      {.pages = 0, .resolution = "0", .units = "00 00"},
  };
  std::filesystem::create_directories(argv[1]);
  for (std::size_t i = 0; i < std::size(choices); ++i) {
    const Bytes job = SampleJob(choices[i]).bytes();
    std::ofstream file(std::string(argv[1]) + "/job" + std::to_string(i), std::ios::binary);
    file.write(reinterpret_cast<const char*>(job.data()), static_cast<std::streamsize>(job.size()));
    if (!file) return 1;
  }
  return 0;
}
