// A test's surroundings for job settings: an empty raster header, and PPDs written into a temporary folder.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "jobsettings/jobsettings.h"
#include "jobsettings/optionsource.h"

namespace kesto::test {

/// The paper size as one text: a number, a name, or "custom".
inline std::string toldPaper(const JobSetting& setting) {
  switch (setting.mediaSizeType) {
    case MEDIA_SIZE_ENUMERATED:
      return std::to_string(setting.mediaSize.mediaSizeId);
    case MEDIA_SIZE_NAMED:
      return setting.mediaSize.mediaSizeName;
    case MEDIA_SIZE_CUSTOM:
      return "custom";
    default:
      return "no type";
  }
}

/// Starts each test without a PPD and forgets its options afterwards.
class JobOptions : public ::testing::Test {
 public:
  JobOptions() {
    std::string pattern = ::testing::TempDir() + "/jobsettings-XXXXXX";
    folder_ = mkdtemp(pattern.data());
    setPpdPath(nullptr);
    collatedFlag_Prototype = 0;
  }
  ~JobOptions() override {
    releaseOptionSource();
    setPpdPath(nullptr);
    std::filesystem::remove_all(folder_);
  }

 protected:
  /// Sets the environment's path of the job's PPD; null for none.
  static void setPpdPath(const char* path) {
    // NOLINTBEGIN(concurrency-mt-unsafe): one thread
    if (path == nullptr) {
      unsetenv("PPD");
    } else {
      setenv("PPD", path, 1);
    }
    // NOLINTEND(concurrency-mt-unsafe)
  }

  /// Makes a file of exactly `content` the job's PPD.
  void usePpdFile(const std::string& content) {
    ppdPath = folder_ / ("printer" + std::to_string(++files_) + ".ppd");
    std::ofstream(ppdPath, std::ios::binary) << content;
    setPpdPath(ppdPath.c_str());
  }

  /// Makes a well-formed PPD with these lines after its heading the job's PPD.
  void usePpd(const std::string& lines) { usePpdFile("*PPD-Adobe: \"4.3\"\n" + lines); }

  /// Makes a PPD whose one option has this default choice the job's PPD.
  void usePpdDefault(const std::string& option, const std::string& choice) {
    usePpd("*OpenUI *" + option + ": PickOne\n*Default" + option + ": " + choice + "\n*" + option + " " + choice +
           ": \"\"\n*CloseUI: *" + option + "\n");
  }

  cups_page_header2_t header{};
  JobSetting setting{};
  std::filesystem::path ppdPath;

 private:
  std::filesystem::path folder_;
  int files_ = 0;
};

}  // namespace kesto::test
