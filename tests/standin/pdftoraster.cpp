// A stand-in for the spooler's renderer: the "document" it is given is a recipe of what to deliver and how to behave.
//
//   page width=64 height=16 bits=24 pattern=noise seed=1 ...   a raster page (see support/raster.cpp for the keys);
//                                                              lines=N sends only so many of its lines and part=N as
//                                                              many bytes of the next, headerbytes=N only so much of
//                                                              its header; pause=MS between lines
//   sleep ms=100 | hang | crash signal=9 | exit status=3 | close   pauses and ends
//   garbage bytes=1000                                         noise where a page should begin
//   bytewise                                                   from here on one byte at a time
//   chatter lines=1000                                         lines on standard error
//   orphan                                                     leaves a process behind that keeps the pipe open
//   sync word=0x52615332                                       another word that the raster begins with
//   ignoresignals                                              SIGTERM does nothing from here on
//   arguments                                                  tells its arguments and descriptors on standard error
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <span>
#include <sstream>
#include <thread>

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include "support/raster.h"

namespace {

using kesto::test::Step;

std::uint32_t syncWord = 0x52615333;  // version 3: uncompressed, in the host's byte order

bool bytewise = false;

void send(const void* data, std::size_t count) {
  const auto* bytes = static_cast<const char*>(data);
  while (count > 0) {
    const ssize_t written = write(STDOUT_FILENO, bytes, bytewise ? 1 : count);
    if (written <= 0) std::exit(1);  // NOLINT(concurrency-mt-unsafe): one thread
    bytes += written;
    count -= static_cast<std::size_t>(written);
  }
}

void sendPage(const Step& page) {
  static bool started = false;
  if (!started) send(&syncWord, sizeof syncWord);
  started = true;
  const cups_page_header2_t header = kesto::test::headerOf(page);
  send(&header, page.number("headerbytes", sizeof header));
  const unsigned lines = page.number("lines", header.cupsHeight);
  for (unsigned line = 0; line < lines; ++line) {
    const auto bytes = kesto::test::lineOf(page, header, line);
    send(bytes.data(), bytes.size());
    std::this_thread::sleep_for(std::chrono::milliseconds(page.number("pause", 0)));
  }
  if (page.number("part", 0) == 0) return;
  const auto cut = kesto::test::lineOf(page, header, lines);
  send(cut.data(), std::min<std::size_t>(cut.size(), page.number("part", 0)));
}

void leaveOrphan() {
  if (fork() != 0) return;
  for (int i = 0; i < 600; ++i) std::this_thread::sleep_for(std::chrono::milliseconds(100));
  _exit(0);
}

void tellArguments(std::span<char*> arguments) {
  std::ostringstream text;
  text << "DEBUG: renderer arguments";
  for (const char* argument : arguments) text << " [" << argument << "]";
  for (int descriptor = 3; descriptor < 10; ++descriptor) {
    if (fcntl(descriptor, F_GETFD) >= 0) text << " open descriptor " << descriptor;
  }
  std::fprintf(stderr, "%s\n", text.str().c_str());
}

void perform(const Step& step, std::span<char*> arguments) {
  using std::chrono::milliseconds;
  if (step.verb == "page") sendPage(step);
  if (step.verb == "sleep") std::this_thread::sleep_for(milliseconds(step.number("ms", 100)));
  if (step.verb == "hang") std::this_thread::sleep_for(milliseconds(60000));
  if (step.verb == "crash") {
    const auto number = static_cast<int>(step.number("signal", SIGSEGV));
    signal(number, SIG_DFL);  // a sanitizer's handler would end the process in its own way
    raise(number);
  }
  if (step.verb == "garbage") {
    const auto noise =
        kesto::test::pixelsOf("page height=1 bits=8 pattern=noise width=" + std::to_string(step.number("bytes", 1000)));
    send(noise.data(), noise.size());
  }
  // NOLINTNEXTLINE(concurrency-mt-unsafe): one thread
  if (step.verb == "exit") std::exit(static_cast<int>(step.number("status", 0)));
  if (step.verb == "close") close(STDOUT_FILENO);
  if (step.verb == "sync") syncWord = step.number("word", 0);
  if (step.verb == "bytewise") bytewise = true;
  if (step.verb == "orphan") leaveOrphan();
  if (step.verb == "arguments") tellArguments(arguments);
  if (step.verb == "ignoresignals") signal(SIGTERM, SIG_IGN);
  if (step.verb == "chatter") {
    for (unsigned i = 0; i < step.number("lines", 1000); ++i) std::fprintf(stderr, "DEBUG: chatter %u\n", i);
  }
}

}  // namespace

int main(int argc, char* argv[]) {
  if (argc != 7) {
    std::fprintf(stderr, "ERROR: renderer called with %d arguments\n", argc);
    return 1;
  }
  std::ifstream document(argv[6]);
  const std::string recipe{std::istreambuf_iterator<char>(document), {}};
  document.close();
  for (const Step& step : kesto::test::parseRecipe(recipe))
    perform(step, std::span(argv, static_cast<std::size_t>(argc)));
  return 0;
}
