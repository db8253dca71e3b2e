// A transfer's own UDP socket, used straight through the system calls: a
// block goes out as its header and its bytes where they lie, with no copy
// and no call the transfer does not need.
#pragma once

#include <netinet/in.h>
#include <sys/uio.h>

#include <cstddef>
#include <cstdint>

namespace tftpd {

class TransferSocket {
 public:
  TransferSocket() = default;
  TransferSocket(const TransferSocket&) = delete;
  TransferSocket& operator=(const TransferSocket&) = delete;
  ~TransferSocket();

  // Binds any IPv4 address on `port` (0: one the system picks); on failure
  // errno says why.
  bool Bind(std::uint16_t port);
  int Descriptor() const { return fd_; }
  std::uint16_t LocalPort() const { return port_; }

  // A datagram the kernel cannot take now counts as lost on the way.
  void Send(const sockaddr_in& to, const iovec* parts, std::size_t count);
  void Send(const sockaddr_in& to, const void* data, std::size_t length);
  // The next datagram, or -1 when none is waiting.
  long Receive(std::uint8_t* buffer, std::size_t capacity, sockaddr_in& from);

 private:
  int fd_ = -1;
  std::uint16_t port_ = 0;
};

inline bool SameEndpoint(const sockaddr_in& a, const sockaddr_in& b) {
  return a.sin_port == b.sin_port && a.sin_addr.s_addr == b.sin_addr.s_addr;
}

}  // namespace tftpd
