// Sockets that a test listens on.
#pragma once

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

inline int listenOnPath(const std::string& path, int backlog = 8) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  unlink(path.c_str());
  const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  EXPECT_EQ(bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address), 0) << path;
  EXPECT_EQ(listen(listener, backlog), 0);
  return listener;
}

// Of the IPv4 loopback address.
inline int listenOnPort(std::uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const int on = 1;
  setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  EXPECT_EQ(bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address), 0) << port;
  EXPECT_EQ(listen(listener, 8), 0);
  return listener;
}
