// A module answers from its own lab address: every module shares one socket
// bound to all addresses, so the source is chosen per datagram.
#pragma once

#include <netinet/in.h>
#include <sys/socket.h>

#include <cstddef>
#include <cstring>

namespace modsim {

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
