#include "control/listen_address.h"

#include <arpa/inet.h>
#include <netinet/in.h>

#include "runner/errors.h"

namespace orvo {

// Digits only: a name would be looked up, which may take minutes, and may have several addresses.
ListenAddress::ListenAddress(const std::string& text, unsigned short port) {
  auto* v4 = reinterpret_cast<sockaddr_in*>(&storage);
  auto* v6 = reinterpret_cast<sockaddr_in6*>(&storage);
  if (inet_pton(AF_INET, text.c_str(), &v4->sin_addr) == 1) {
    v4->sin_family = AF_INET;
    v4->sin_port = htons(port);
    length = sizeof(*v4);
  } else if (inet_pton(AF_INET6, text.c_str(), &v6->sin6_addr) == 1) {
    v6->sin6_family = AF_INET6;
    v6->sin6_port = htons(port);
    length = sizeof(*v6);
  } else {
    throw UserError("--listen: not an IPv4 or IPv6 address, such as 127.0.0.1 or ::1: '" + text +
                    "'");
  }
}

unsigned short ListenAddress::Port() const {
  return ntohs(family() == AF_INET ? reinterpret_cast<const sockaddr_in*>(&storage)->sin_port
                                   : reinterpret_cast<const sockaddr_in6*>(&storage)->sin6_port);
}

}  // namespace orvo
