// Datagrams of the modules' own services. Every module shares one socket
// bound to all addresses, so the address a datagram was sent to tells the
// module, and an answer leaves from that address again.
#pragma once

#include <netinet/in.h>
#include <sys/socket.h>

#include <cstddef>
#include <cstring>

namespace modsim {

// One datagram without waiting, and the local address it was sent to; -1
// when none is waiting.
inline ssize_t ReceiveAt(int fd, void* buffer, std::size_t size, sockaddr_in& from, in_addr& to) {
  alignas(cmsghdr) char control[CMSG_SPACE(sizeof(in_pktinfo))];
  iovec iov{buffer, size};
  msghdr message{};
  message.msg_name = &from;
  message.msg_namelen = sizeof from;
  message.msg_iov = &iov;
  message.msg_iovlen = 1;
  message.msg_control = control;
  message.msg_controllen = sizeof control;
  const ssize_t n = recvmsg(fd, &message, MSG_DONTWAIT);
  if (n < 0) return n;
  to = in_addr{};
  for (cmsghdr* h = CMSG_FIRSTHDR(&message); h; h = CMSG_NXTHDR(&message, h))
    if (h->cmsg_level == IPPROTO_IP && h->cmsg_type == IP_PKTINFO)
      to = reinterpret_cast<in_pktinfo*>(CMSG_DATA(h))->ipi_addr;
  return n;
}

// Sends from the local address `source`, the module's own.
inline ssize_t SendFrom(int fd, const sockaddr_in& peer, in_addr source, const void* bytes,
                        std::size_t length) {
  sockaddr_in to = peer;
  iovec out{const_cast<void*>(bytes), length};
  alignas(cmsghdr) char control[CMSG_SPACE(sizeof(in_pktinfo))] = {};
  msghdr message{};
  message.msg_name = &to;
  message.msg_namelen = sizeof to;
  message.msg_iov = &out;
  message.msg_iovlen = 1;
  message.msg_control = control;
  message.msg_controllen = sizeof control;
  cmsghdr* header = CMSG_FIRSTHDR(&message);
  header->cmsg_level = IPPROTO_IP;
  header->cmsg_type = IP_PKTINFO;
  header->cmsg_len = CMSG_LEN(sizeof(in_pktinfo));
  in_pktinfo info{};
  info.ipi_spec_dst = source;
  std::memcpy(CMSG_DATA(header), &info, sizeof info);
  return sendmsg(fd, &message, 0);
}

}  // namespace modsim
