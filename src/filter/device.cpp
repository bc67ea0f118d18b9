#include "filter/device.h"

namespace kesto {
namespace {

bool contains(std::string_view text, std::string_view part) {
  return text.find(part) != std::string_view::npos;
}

/// The text after the first "//" of `uri`, up to the first `end` or the end of the text.
std::string hostOf(std::string_view uri, char end) {
  const std::string_view rest = uri.substr(uri.find("//") + 2);
  return std::string(rest.substr(0, rest.find(end)));
}

}  // namespace

Device parseDeviceUri(std::string_view uri) {
  if (contains(uri, "usb://")) return {USB, std::nullopt};
  if (contains(uri, "socket://")) return {NETWORK, hostOf(uri, ':')};
  if (contains(uri, "lpd://") || contains(uri, "ipp://")) return {BONJOUR, hostOf(uri, '/')};
  return {BONJOUR, std::nullopt};
}

}  // namespace kesto
