#include "core/socket_errors.h"

#include <cerrno>
#include <cstdio>

namespace torvek {

std::string SocketErrorText(int code) {
  switch (code) {
    case kErrFault:
      return "The lpSockAddrLen argument was invalid: the lpSockAddr buffer was too small to "
             "accommodate the peer address";
    case kErrInvalid: return "The socket has not been bound with Bind";
    case kErrTooManyFiles: return "No more file descriptors are available.";
    case kErrWouldBlock:
      return "The socket is marked as nonblocking and the ReceiveFrom operation would block.";
    case kErrInProgress: return "A blocking Windows Sockets operation is in progress.";
    case kErrNotSocket: return "The descriptor is not a socket.";
    case kErrMessageSize:
      return "The datagram was too large to fit into the specified buffer and was truncated.";
    case kErrOpNotSupported:
      return "MSG_OOB was specified, but the socket is not of type SOCK_STREAM.";
    case kErrAfNotSupported:
      return "Addresses in the specified family cannot be used with this socket.";
    case kErrAddressInUse: return "The specified address is already in use.";
    case kErrAddressNotAvailable:
      return "The specified address is not available from the local machine";
    case kErrNetworkDown:
      return "The Windows Sockets implementation detected that the network subsystem failed";
    case kErrNetworkUnreachable:
      return "The network cannot be reached from this host at this time.";
    case kErrConnectionAborted:
      return "The virtual circuit was aborted due to timeout or other failure.";
    case kErrConnectionReset: return "The virtual circuit was reset by the remote side";
    case kErrNoBuffers: return "No buffer space is available. The socket cannot be connected.";
    case kErrIsConnected: return "The socket is already connected.";
    case kErrNotConnected: return "The socket is not connected (SOCK_STREAM only).";
    case kErrShutdown: return "The socket has been shut down";
    case kErrTimedOut: return "The attempt to connect timed out without establishing a connection";
    case kErrConnectionRefused: return "The attempt to connect was forcefully rejected";
    case kErrNotInitialised: return "A successful AfxSocketInit must occur before using this API.";
    default: {
      char text[40];
      std::snprintf(text, sizeof text, " Not Defined Code %x", static_cast<unsigned>(code));
      return text;
    }
  }
}

int SocketErrorFromErrno(int error) {
  switch (error) {
    case EFAULT: return kErrFault;
    case EINVAL: return kErrInvalid;
    case EMFILE:
    case ENFILE: return kErrTooManyFiles;
#if EWOULDBLOCK != EAGAIN
    case EWOULDBLOCK:
#endif
    case EAGAIN: return kErrWouldBlock;
    case EINPROGRESS:
    case EALREADY: return kErrInProgress;
    case ENOTSOCK:
    case EBADF: return kErrNotSocket;
    case EMSGSIZE: return kErrMessageSize;
    case EOPNOTSUPP: return kErrOpNotSupported;
    case EAFNOSUPPORT: return kErrAfNotSupported;
    case EADDRINUSE: return kErrAddressInUse;
    case EADDRNOTAVAIL: return kErrAddressNotAvailable;
    case ENETDOWN: return kErrNetworkDown;
    case ENETUNREACH:
    case EHOSTUNREACH: return kErrNetworkUnreachable;
    case ECONNABORTED: return kErrConnectionAborted;
    case ECONNRESET: return kErrConnectionReset;
    case ENOBUFS: return kErrNoBuffers;
    case EISCONN: return kErrIsConnected;
    case ENOTCONN: return kErrNotConnected;
    case ESHUTDOWN:
    case EPIPE: return kErrShutdown;
    case ETIMEDOUT: return kErrTimedOut;
    case ECONNREFUSED: return kErrConnectionRefused;
    default: return error;
  }
}

}  // namespace torvek
