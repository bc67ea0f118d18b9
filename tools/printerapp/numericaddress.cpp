#include "printerapp/numericaddress.h"

#include <string_view>

#include <arpa/inet.h>

namespace kesto::app {

std::string numericAddress(const std::string& uri) {
  constexpr std::string_view SOCKET = "socket://";
  if (!uri.starts_with(SOCKET)) return "";
  const std::string host = uri.substr(SOCKET.size(), uri.find_first_of(":/?", SOCKET.size()) - SOCKET.size());
  in_addr address = {};
  return inet_pton(AF_INET, host.c_str(), &address) == 1 ? host : "";
}

}  // namespace kesto::app
