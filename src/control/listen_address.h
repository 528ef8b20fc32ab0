// The address on which all servers of the program listen, --listen.
#pragma once

#include <sys/socket.h>

#include <string>

namespace orvo {

struct ListenAddress {
  sockaddr_storage storage{};
  socklen_t length = 0;

  // Takes an IPv4 or IPv6 address in digits; "0.0.0.0" and "::" are all addresses. Throws UserError
  // for any other text.
  ListenAddress(const std::string& text, unsigned short port);

  int family() const { return storage.ss_family; }
  sockaddr* get() { return reinterpret_cast<sockaddr*>(&storage); }
  // In the byte order of the host.
  unsigned short Port() const;
};

}  // namespace orvo
