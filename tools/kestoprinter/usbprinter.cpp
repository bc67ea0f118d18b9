#include "kestoprinter/usbprinter.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>

#include <poll.h>
#include <unistd.h>

#include "base/descriptor.h"

namespace kesto::printer {
namespace {

constexpr std::uint8_t PACKET_START = 0xA5;
constexpr std::size_t LENGTH_END = 3;
constexpr int IDLE_MS = 200;  ///< how often the end is looked for when nothing comes

}  // namespace

std::vector<Bytes> RequestReader::take(std::span<const std::uint8_t> bytes) {
  std::vector<Bytes> packets;
  if (isOver_) return packets;
  pending_.insert(pending_.end(), bytes.begin(), bytes.end());
  while (!pending_.empty()) {
    isOver_ = pending_[0] != PACKET_START;
    if (isOver_ || pending_.size() < LENGTH_END) break;
    const std::size_t size = LENGTH_END + (std::size_t{pending_[1]} << 8 | pending_[2]);
    if (pending_.size() < size) break;
    const auto end = pending_.begin() + static_cast<std::ptrdiff_t>(size);
    packets.emplace_back(pending_.begin(), end);
    pending_.erase(pending_.begin(), end);
  }
  if (isOver_) pending_.clear();
  return packets;
}

void UsbPrinter::take(std::span<const std::uint8_t> bytes) {
  for (const Bytes& request : requests_.take(bytes)) {
    Bytes answer;
    for (const Bytes& packet : status_.answerPackets(request, panel_)) answer = std::move(answer) + packet;
    auto time = Clock::now() + status_.delay();
    if (!due_.empty()) time = std::max(time, due_.back().time + usb_.gap);
    for (std::size_t at = 0; at < answer.size(); at += usb_.piece, time += usb_.gap) {
      const auto piece = std::span(answer).subspan(at, std::min(usb_.piece, answer.size() - at));
      due_.push_back({time, {piece.begin(), piece.end()}});
    }
  }
}

/// Writes the pieces whose time has come; returns for how many milliseconds there is nothing to send.
int UsbPrinter::sendDuePieces(int answers) {
  for (; !due_.empty() && due_.front().time <= Clock::now(); due_.pop_front()) {
    // A filter that has gone takes no answer, and needs none.
    [[maybe_unused]] const ssize_t written = write(answers, due_.front().bytes.data(), due_.front().bytes.size());
  }
  if (due_.empty()) return IDLE_MS;
  const auto wait = std::chrono::ceil<std::chrono::milliseconds>(due_.front().time - Clock::now());
  return std::clamp(static_cast<int>(wait.count()), 0, IDLE_MS);
}

void UsbPrinter::run(int data, int file, int answers, int commands, bool (*ended)()) {
  std::array<std::uint8_t, 65536> buffer;
  PanelInput panelInput(commands);
  for (;;) {
    const int wait = sendDuePieces(answers);
    std::array<pollfd, 2> inputs = {{{data, POLLIN, 0}, {panelInput.descriptor(), POLLIN, 0}}};
    const int ready = poll(inputs.data(), inputs.size(), wait);
    if (ended()) return;
    if (ready <= 0) continue;
    if (inputs[1].revents != 0) panelInput.read(panel_);
    if (inputs[0].revents == 0) continue;
    const ssize_t got = read(data, buffer.data(), buffer.size());
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return;
    const auto bytes = std::span(buffer).first(static_cast<std::size_t>(got));
    if (const int error = writeFully(file, bytes.data(), bytes.size()); error != 0) {
      throw std::system_error(error, std::generic_category(), "the job cannot be kept");
    }
    take(bytes);
  }
}

}  // namespace kesto::printer
