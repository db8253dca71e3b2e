// One transfer's state machine: packets and timer expiries in, actions out.
// It does no input or output itself: the server carries the actions out in
// their order (sends, writes, the timer) and feeds back what arrives.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tftp_packet.h"

namespace torvek::tftp {

// What a server allows a client to ask for.
struct ServerLimits {
  std::uint32_t maxBlockSize = 65464;
  std::uint32_t maxWindowSize = 64;
};

// The values a transfer runs with once the options are settled.
struct TransferParameters {
  std::uint32_t blockSize = 512;
  std::uint32_t windowSize = 1;
  std::uint32_t timeoutSeconds = 0;            // 0: the server times its retransmissions itself
  std::optional<std::uint64_t> announcedSize;  // tsize a writing client announced
  Options oack;                                // empty: no option acknowledgement
};

// Settles the options of a request (blksize, timeout, tsize, windowsize).
// Unknown options and values out of range are left out of the answer, so the
// client goes on with its defaults. `sizeToSend` is the size a read will
// send, for tsize (none when it is not known before the end, as in
// netascii: then tsize is not answered); uploads are acknowledged in
// lock-step, without a window.
TransferParameters Negotiate(const Packet& request, const ServerLimits& limits,
                             std::optional<std::uint64_t> sizeToSend);

struct Action {
  enum Kind {
    SendOack,   // the negotiated options
    SendData,   // block `block` (counted from 1, never rolled over) of the file
    SendAck,    // acknowledgement of `block` (on the wire, rolled over)
    SendError,  // `code` and `text`, to the client
    Write,      // `data`/`length` go to the file, in order
    ArmTimer,   // (re)start the transfer's one timer with `milliseconds`
    Finished,   // the outcome: `ok`, and `text` for a failure; an upload is put in
                // place here, and if that fails the transfer ends with an error
    Close,      // the transfer is over; drop its socket and timer
  } kind;
  std::uint64_t block = 0;
  std::uint16_t code = 0;
  std::string text;
  const std::uint8_t* data = nullptr;
  std::size_t length = 0;
  std::uint32_t milliseconds = 0;
  bool ok = false;
};
using Actions = std::vector<Action>;

// Retransmission: a timeout measured from the round trips, backed off while
// nothing comes back, and never longer than a negotiated timeout.
//
// Until the client has answered once, a transfer costs a socket and a file
// for a client that may not exist (a forged address, or a flood of requests):
// it is sent again at most kMaxFirstRetries times, at most kFirstContactMs
// apart, whatever timeout the request asked for, and then given up (about
// 7 s). Once the client has answered, kMaxRetries apply.
class RetransmitClock {
 public:
  explicit RetransmitClock(std::uint32_t timeoutSeconds);
  std::uint32_t Timeout() const;
  void Sample(std::uint64_t roundTripMs);
  void BackOff();
  void Reset() { backOff_ = 0; }
  static constexpr int kMaxRetries = 8;
  static constexpr int kMaxFirstRetries = 3;
  static constexpr std::uint32_t kFirstContactMs = 2000;

 private:
  std::uint32_t limitMs_;
  double smoothed_ = -1;
  double variation_ = 0;
  int backOff_ = 0;
};

// A read: the server sends `size` bytes in blocks of the negotiated size, a
// window at a time, and a block shorter than the size (empty if need be)
// ends it. Block numbers roll over from 65535 to 0.
//
// A size not known before the end (netascii) is told with KnownSize() as soon
// as the block that ends the file is made; until then there is no last block,
// and blocks asked for beyond the last one once it is known are not sent.
class ReadTransfer {
 public:
  ReadTransfer(std::optional<std::uint64_t> size, const TransferParameters& parameters);
  void KnownSize(std::uint64_t size);

  void Start(std::uint64_t nowMs, Actions& actions);
  void OnPacket(const Packet& packet, std::uint64_t nowMs, Actions& actions);
  void OnTimer(std::uint64_t nowMs, Actions& actions);

  // The bytes of block `block`: where they start in the file and how many
  // (for a size known from the start).
  std::uint64_t BlockOffset(std::uint64_t block) const;
  std::size_t BlockLength(std::uint64_t block) const;
  std::uint64_t LastBlock() const { return lastBlock_; }
  // Whether the client has acknowledged anything yet.
  bool Heard() const { return heard_; }

  std::uint64_t BytesDone() const;
  std::uint64_t Retransmissions() const { return retransmissions_; }
  bool Over() const { return over_; }

 private:
  void SendWindow(std::uint64_t nowMs, Actions& actions);
  void Fail(std::uint16_t code, const std::string& text, bool tellClient, Actions& actions);
  std::uint32_t Timeout() const;

  std::optional<std::uint64_t> size_;
  TransferParameters parameters_;
  std::uint64_t lastBlock_;
  bool heard_ = false;
  bool waitingOackAck_ = false;
  std::uint64_t acked_ = 0;     // every block up to here is acknowledged
  std::uint64_t lastSent_ = 0;  // the last block of the window in flight
  std::uint64_t windowSentAt_ = 0;
  bool windowResent_ = false;
  int retries_ = 0;
  std::uint64_t retransmissions_ = 0;
  RetransmitClock clock_;
  bool over_ = false;
};

// A write: the client sends blocks, the server acknowledges each one and
// hands it on to be written. After the last block it lingers a while to
// acknowledge that block again, in case the first acknowledgement was lost.
class WriteTransfer {
 public:
  explicit WriteTransfer(const TransferParameters& parameters);

  void Start(std::uint64_t nowMs, Actions& actions);
  void OnPacket(const Packet& packet, std::uint64_t nowMs, Actions& actions);
  void OnTimer(std::uint64_t nowMs, Actions& actions);
  // The file could not take a block: the transfer ends with `text`.
  void OnWriteFailed(const std::string& text, Actions& actions);

  std::uint64_t BytesDone() const { return bytes_; }
  std::uint64_t Retransmissions() const { return retransmissions_; }
  bool Over() const { return over_; }
  // Whether the client has sent a block yet.
  bool Heard() const { return received_ > 0; }

 private:
  void Acknowledge(std::uint64_t nowMs, Actions& actions);
  std::uint32_t Timeout() const;
  void Fail(std::uint16_t code, const std::string& text, bool tellClient, Actions& actions);

  TransferParameters parameters_;
  std::uint64_t received_ = 0;  // blocks taken
  std::uint64_t bytes_ = 0;
  std::uint64_t lastAckAt_ = 0;
  bool lingering_ = false;
  int retries_ = 0;
  std::uint64_t retransmissions_ = 0;
  RetransmitClock clock_;
  bool over_ = false;
};

}  // namespace torvek::tftp
