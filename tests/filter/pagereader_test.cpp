#include "filter/lines/pagereader.h"

#include <cstring>
#include <fstream>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "argumentlist.h"
#include "filter/document/renderer.h"
#include "jobsettings/jobsettings.h"
#include "support/raster.h"
#include "support/standardinput.h"

namespace kesto {
namespace {

using Bytes = std::vector<std::uint8_t>;

/// Reads a page of 24 MB, more than the renderer's pipe and the reader take of noise, from the stand-in renderer.
class PageReading : public testing::Test, private BlockTaker {
 protected:
  static constexpr PageGeometry GEOMETRY{.pixelWidth = 2000, .pixelHeight = 4000, .bytesPerPixel = 3};

  PageReading() { jobsetting = &setting_; }
  void TearDown() override {
    raster_.reset();
    renderer_.reset();
    unlink(recipe_.c_str());
    jobsetting = nullptr;
  }

  /// Starts the renderer. A block is welcome whenever `hasRoom` says so.
  PageReader start(const std::string& page, std::function<bool()> hasRoom) {
    expected_ = test::pixelsOf(page);
    std::ofstream(recipe_) << page << '\n';
    std::vector<std::string> arguments{"Test", "1", "test", "Test", "1", ""};
    renderer_.emplace(KESTO_STANDIN_SERVERBIN, tools::pointersTo(arguments).data(), recipe_);
    raster_.emplace(*renderer_);
    EXPECT_TRUE(raster_->readHeader());
    place_.resize(GEOMETRY.blockBytes());
    hasRoom_ = std::move(hasRoom);
    return {*raster_, PixelFormat::RGB, GEOMETRY, *this};
  }

  void expectTheWholePage() {
    EXPECT_EQ(blocks_, GEOMETRY.pixelHeight / LINES_PER_BLOCK);
    EXPECT_EQ(wrongBlocks_, 0u);
    EXPECT_FALSE(raster_->endedEarly());
  }

  const test::StandardInput restoredAtEnd_;
  std::optional<Renderer> renderer_;
  std::size_t blocks_ = 0;  ///< taken so far

 private:
  [[nodiscard]] bool hasRoom() const override { return hasRoom_(); }
  [[nodiscard]] std::span<std::uint8_t> place() override { return place_; }
  void send(std::span<const std::uint8_t> block) override {
    const auto rows = block.subspan(LINE_BLOCK_HEADER_SIZE, LINES_PER_BLOCK * GEOMETRY.bytesPerLine());
    if (std::memcmp(rows.data(), &expected_.at(blocks_ * rows.size()), rows.size()) != 0) ++wrongBlocks_;
    ++blocks_;
  }

  JobSetting setting_ = {};
  std::string recipe_ = testing::TempDir() + "pagereader." + std::to_string(getpid());
  std::optional<RasterStream> raster_;
  Bytes expected_;
  Bytes place_;
  std::function<bool()> hasRoom_;
  std::size_t wrongBlocks_ = 0;
};

TEST_F(PageReading, LetsTheRendererFinishAPageBeforeAnyOfItIsTaken) {
  start("page width=2000 height=4000 bits=24 pattern=text", [&] { return renderer_->ended(); }).readPage();
  expectTheWholePage();
}

}  // namespace
}  // namespace kesto
