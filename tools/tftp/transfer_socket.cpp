#include "transfer_socket.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>

namespace tftpd {

TransferSocket::~TransferSocket() {
  if (fd_ >= 0) ::close(fd_);
}

bool TransferSocket::Bind(std::uint16_t port) {
  if (fd_ < 0) fd_ = ::socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  if (fd_ < 0) return false;
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_ANY);
  if (::bind(fd_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) return false;
  socklen_t length = sizeof address;
  if (::getsockname(fd_, reinterpret_cast<sockaddr*>(&address), &length) == 0)
    port_ = ntohs(address.sin_port);
  // Room for a whole window of the largest blocks.
  const int size = 1 << 20;
  ::setsockopt(fd_, SOL_SOCKET, SO_SNDBUF, &size, sizeof size);
  ::setsockopt(fd_, SOL_SOCKET, SO_RCVBUF, &size, sizeof size);
  return true;
}

void TransferSocket::Send(const sockaddr_in& to, const iovec* parts, std::size_t count) {
  msghdr message{};
  message.msg_name = const_cast<sockaddr_in*>(&to);
  message.msg_namelen = sizeof to;
  message.msg_iov = const_cast<iovec*>(parts);
  message.msg_iovlen = count;
  while (::sendmsg(fd_, &message, 0) < 0 && errno == EINTR) {
  }
}

void TransferSocket::Send(const sockaddr_in& to, const void* data, std::size_t length) {
  iovec part{const_cast<void*>(data), length};
  Send(to, &part, 1);
}

long TransferSocket::Receive(std::uint8_t* buffer, std::size_t capacity, sockaddr_in& from) {
  socklen_t length = sizeof from;
  for (;;) {
    const ssize_t got =
        ::recvfrom(fd_, buffer, capacity, 0, reinterpret_cast<sockaddr*>(&from), &length);
    if (got >= 0 || errno != EINTR) return got;
  }
}

}  // namespace tftpd
