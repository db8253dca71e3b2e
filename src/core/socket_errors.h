// Socket error codes as the operator sees them, and the texts for them.
#pragma once

#include <string>

namespace torvek {

// The operator-facing codes (10014 ... 10093) behind each text.
enum SocketErrorCode : int {
  kErrFault = 10014,
  kErrInvalid = 10022,
  kErrTooManyFiles = 10024,
  kErrWouldBlock = 10035,
  kErrInProgress = 10036,
  kErrNotSocket = 10038,
  kErrMessageSize = 10040,
  kErrOpNotSupported = 10045,
  kErrAfNotSupported = 10047,
  kErrAddressInUse = 10048,
  kErrAddressNotAvailable = 10049,
  kErrNetworkDown = 10050,
  kErrNetworkUnreachable = 10051,
  kErrConnectionAborted = 10053,
  kErrConnectionReset = 10054,
  kErrNoBuffers = 10055,
  kErrIsConnected = 10056,
  kErrNotConnected = 10057,
  kErrShutdown = 10058,
  kErrTimedOut = 10060,
  kErrConnectionRefused = 10061,
  kErrNotInitialised = 10093,
};

// The text for a code; " Not Defined Code %x" for any other.
std::string SocketErrorText(int code);

// Maps an errno value of the platform onto those codes. An errno with no
// counterpart passes through unchanged, so its text names the raw number.
int SocketErrorFromErrno(int error);

}  // namespace torvek
