// Writes the seeds of the fuzz targets: valid answers of every kind, a folder for each target.
//   fuzz_seeds FOLDER
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <vector>

#include "kestoprinter/answers.h"
#include "support/hex.h"

namespace {

using kesto::printer::Alert;
using kesto::printer::alertBlock;
using kesto::printer::alertPackets;
using kesto::printer::alertResponse;
using kesto::printer::oirDatagram;
using kesto::test::Bytes;
using kesto::test::unhex;
using kesto::printer::operator+;

void writeFile(const std::filesystem::path& folder, std::string_view name, const Bytes& bytes) {
  std::filesystem::create_directories(folder);
  std::ofstream file(folder / name, std::ios::binary | std::ios::trunc);
  for (const std::uint8_t byte : bytes) file.put(static_cast<char>(byte));
}

/// Blocks as fuzz_received_response reads them: two bytes of length before each.
Bytes blocks(const std::vector<Bytes>& all) {
  Bytes input;
  for (const auto& block : all) {
    input =
        input + Bytes{static_cast<std::uint8_t>(block.size() >> 8), static_cast<std::uint8_t>(block.size())} + block;
  }
  return input;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  const std::filesystem::path corpus = argv[1];
  std::vector<Alert> alerts(2);
  alerts[0] = {.entries = {{1, "Paper jam"}, {2, "Open door B"}}, .text9 = "Tray 1", .text10 = "ten", .code = 100};
  alerts[1] = {.entries = {}, .text9 = "No entry", .text10 = {}, .code = 200};
  const Bytes large = alertBlock(alerts);
  const Bytes small = alertBlock({{.entries = {{7, "Jam"}}, .text9 = {}, .text10 = {}}});
  // Identifiers of two bytes, element counts of three: 1.2.1.4 is 77.
  const Bytes wide = alertBlock(unhex("0001 00 000001 0015  0002 00 000001 000D  0001 00 000001 0005  0004 01 01 4D"),
                                "P{ID:2 DT:1}C{NE:3 LD:2}V{LD:1}");

  const auto received = corpus / "fuzz_received_response";
  Bytes together;
  for (const auto& packet : alertPackets(1, large, 100)) together = together + packet;
  writeFile(received, "one-packet", blocks({alertResponse(1, small)}));
  writeFile(received, "two-responses", blocks({alertResponse(1, small) + alertResponse(2, small)}));
  writeFile(received, "packets-in-one-block", blocks({unhex("00 01 02") + together}));
  writeFile(received, "packets-in-blocks", blocks(alertPackets(3, large, 120)));
  writeFile(received, "registration-first", blocks({unhex("A5 00 06 50 E0 73 07 08 00"), alertResponse(1, small)}));

  const auto responses = corpus / "fuzz_ext_alerts";
  writeFile(responses, "one-alert", alertResponse(1, small));
  writeFile(responses, "two-alerts", alertResponse(3, large));
  writeFile(responses, "wide-fields", alertResponse(2, wide));

  const auto answers = corpus / "fuzz_oir_response";
  writeFile(answers, "two-entries", oirDatagram({unhex("08 00 04 04"), unhex("0E 00 01 06 01 02")}));
  writeFile(answers, "unknown-codes", oirDatagram({unhex("00 00 3D 04"), unhex("10 00 3C 04")}));
  writeFile(answers, "no-entry", oirDatagram({}));
  return 0;
}
