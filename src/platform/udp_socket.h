// A UDP socket whose receive side is drained at line rate by a thread of its
// own: a burst of thousands of answers must not overflow the kernel's buffer
// while the UI thread turns earlier ones into rows.
#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace torvek {

struct ReceivedDatagram {
  // The bytes: in the socket's ring until recycled, or in `spill` when the
  // ring was full.
  const std::uint8_t* data = nullptr;
  std::size_t length = 0;
  std::vector<std::uint8_t> spill;
  std::uint64_t ringEnd = 0;  // ring position behind this datagram; 0 if not in the ring
  int error = 0;              // errno of a failed receive, EMSGSIZE for an oversized datagram
  bool failed = false;        // a failed receive, an empty or an oversized datagram
};

class UdpSocket {
 public:
  // `wake` is called on the reader thread when the queue goes from empty to
  // not empty; it must only schedule work on the owner's thread.
  explicit UdpSocket(std::function<void()> wake);
  ~UdpSocket();
  UdpSocket(const UdpSocket&) = delete;
  UdpSocket& operator=(const UdpSocket&) = delete;

  // Binds to `address`, or to any local address when it is empty. Gives 0 or
  // an errno value.
  int Bind(std::uint16_t port, std::size_t receiveLimit, const std::string& address = {});
  bool IsOpen() const { return fd_ >= 0; }
  // Each gives 0 or an errno value.
  int SetBroadcast(bool on);
  int SetSendBuffer(int bytes);
  int SetReceiveBuffer(int bytes);
  // Thread-safe. Gives the bytes sent, or -1 with `error` set.
  long SendTo(const std::string& address, std::uint16_t port, const std::uint8_t* data,
              std::size_t length, int* error) const;
  // how: 0 receives, 1 sends, 2 both.
  int Shutdown(int how);
  // Stops the reader and closes; idempotent.
  void Close();

  // Moves every datagram that arrived, in order, to the back of `out`.
  std::size_t TakeAll(std::deque<ReceivedDatagram>& out);
  // Gives the space of handled datagrams back, which must be handed back in
  // the order they were taken.
  void Recycle(std::vector<ReceivedDatagram>& used);
  std::size_t Pending() const;
  // True while datagrams keep coming: the reader took some within `us`.
  bool ReceivedWithin(std::int64_t us) const;
  // Datagrams the reader had to drop because the queue was full.
  std::uint64_t Dropped() const;

 private:
  void ReadLoop();

  std::function<void()> wake_;
  int fd_ = -1;
  int stopFd_ = -1;
  std::size_t receiveLimit_ = 4096;
  std::thread reader_;
  mutable std::mutex mutex_;
  std::deque<ReceivedDatagram> queue_;
  std::uint64_t dropped_ = 0;
  std::atomic<std::int64_t> lastReceiveUs_{0};
  // Received bytes wait here, back to back, until the owner has handled them.
  std::unique_ptr<std::uint8_t[]> ring_;
  std::uint64_t writePos_ = 0;  // reader only
  std::uint64_t readPos_ = 0;   // under mutex_
  // Bytes of datagrams outside the ring, taken and not yet recycled.
  std::uint64_t spillBytes_ = 0;  // under mutex_
};

}  // namespace torvek
