// Encodes a page some times, for a count of instructions: scripts/instructions.sh.
//   kesto_instructions KIND literal|basic|specific TIMES     KIND: 0 to 5, in the order of PAGE_KINDS
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include <signal.h>

#include "bandencoder.h"
#include "codec/fast/fastband.h"
#include "pages.h"

int main(int argc, char* argv[]) {
  using namespace kesto;
  using namespace kesto::bench;
  const auto kind = static_cast<std::size_t>(argc == 4 ? std::atoi(argv[1]) : -1);
  if (kind >= PAGE_KINDS.size()) return 2;
  const std::string_view way = argv[2];
  limitBandWay(way == "literal" ? BandWay::LITERAL : way == "basic" ? BandWay::BASIC : BandWay::SPECIFIC);
  signal(SIGPIPE, SIG_IGN);
  const Bytes page = makePage(PAGE_KINDS[kind].kind);
  BandEncoder encoder(PAGE_WIDTH, 3);
  for (int i = std::atoi(argv[3]); i > 0; --i) encoder.encode(page);
  encoder.finish();
  std::printf("%s, %zu pixels\n", PAGE_KINDS[kind].name, PAGE_PIXELS);
}
