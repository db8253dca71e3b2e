#include "platform/udp_socket.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <pthread.h>
#include <sched.h>
#include <sys/eventfd.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>

namespace torvek {

namespace {

constexpr std::size_t kBatch = 64;
// Far beyond any burst, but a flood cannot eat the PC.
constexpr std::size_t kQueueLimit = 100000;
// Holds about 6,800 module records waiting for the UI thread; beyond that a
// datagram gets memory of its own, up to this much in all. A flood of large
// datagrams costs at most the two, not the 100,000 of the queue's count.
constexpr std::size_t kRingBytes = 8u << 20;
constexpr std::uint64_t kSpillBytes = 32u << 20;

// A burst of answers fills the kernel's buffer in a few milliseconds; the
// reader must get a core the moment it wakes, even while the UI thread is busy
// turning earlier records into rows. Ask for a real-time slot where the system
// grants one, else a larger share of the processor, else run as is.
void RaiseReaderPriority() {
  sched_param param{};
  param.sched_priority = 1;
  if (::pthread_setschedparam(::pthread_self(), SCHED_FIFO, &param) == 0) return;
  ::setpriority(PRIO_PROCESS, static_cast<id_t>(::gettid()), -10);
}

std::int64_t NowUs() {
  using namespace std::chrono;
  return duration_cast<microseconds>(steady_clock::now().time_since_epoch()).count();
}

}  // namespace

UdpSocket::UdpSocket(std::function<void()> wake) : wake_(std::move(wake)) {}

UdpSocket::~UdpSocket() { Close(); }

int UdpSocket::Bind(std::uint16_t port, std::size_t receiveLimit, const std::string& address) {
  Close();
  receiveLimit_ = receiveLimit;
  const int fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (fd < 0) return errno;
  sockaddr_in local{};
  local.sin_family = AF_INET;
  local.sin_port = htons(port);
  local.sin_addr.s_addr = htonl(INADDR_ANY);
  if (!address.empty() && ::inet_pton(AF_INET, address.c_str(), &local.sin_addr) != 1) {
    ::close(fd);
    return EADDRNOTAVAIL;
  }
  if (::bind(fd, reinterpret_cast<sockaddr*>(&local), sizeof local) != 0) {
    const int error = errno;
    ::close(fd);
    return error;
  }
  stopFd_ = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  if (stopFd_ < 0) {
    const int error = errno;
    ::close(fd);
    return error;
  }
  // Left untouched: the pages become resident as a burst first reaches
  // them, so an idle socket costs no memory.
  ring_ = std::make_unique_for_overwrite<std::uint8_t[]>(kRingBytes);
  writePos_ = readPos_ = 0;
  fd_ = fd;
  reader_ = std::thread([this] { ReadLoop(); });
  return 0;
}

int UdpSocket::SetBroadcast(bool on) {
  const int value = on ? 1 : 0;
  return ::setsockopt(fd_, SOL_SOCKET, SO_BROADCAST, &value, sizeof value) == 0 ? 0 : errno;
}

int UdpSocket::SetSendBuffer(int bytes) {
  return ::setsockopt(fd_, SOL_SOCKET, SO_SNDBUF, &bytes, sizeof bytes) == 0 ? 0 : errno;
}

int UdpSocket::SetReceiveBuffer(int bytes) {
  return ::setsockopt(fd_, SOL_SOCKET, SO_RCVBUF, &bytes, sizeof bytes) == 0 ? 0 : errno;
}

long UdpSocket::SendTo(const std::string& address, std::uint16_t port, const std::uint8_t* data,
                       std::size_t length, int* error) const {
  sockaddr_in to{};
  to.sin_family = AF_INET;
  to.sin_port = htons(port);
  if (::inet_pton(AF_INET, address.c_str(), &to.sin_addr) != 1) {
    if (error) *error = EDESTADDRREQ;
    return -1;
  }
  const ssize_t sent =
      ::sendto(fd_, data, length, MSG_NOSIGNAL, reinterpret_cast<sockaddr*>(&to), sizeof to);
  if (sent < 0 && error) *error = errno;
  return sent;
}

int UdpSocket::Shutdown(int how) {
  const int posixHow = how == 0 ? SHUT_RD : how == 1 ? SHUT_WR : SHUT_RDWR;
  return ::shutdown(fd_, posixHow) == 0 ? 0 : errno;
}

void UdpSocket::Close() {
  if (reader_.joinable()) {
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t n = ::write(stopFd_, &one, sizeof one);
    reader_.join();
  }
  if (fd_ >= 0) ::close(fd_);
  if (stopFd_ >= 0) ::close(stopFd_);
  fd_ = stopFd_ = -1;
  std::lock_guard lock(mutex_);
  queue_.clear();
  ring_.reset();
  spillBytes_ = 0;
}

std::size_t UdpSocket::TakeAll(std::deque<ReceivedDatagram>& out) {
  std::lock_guard lock(mutex_);
  const std::size_t n = queue_.size();
  if (out.empty()) {
    out.swap(queue_);
  } else {
    for (auto& d : queue_) out.push_back(std::move(d));
    queue_.clear();
  }
  return n;
}

void UdpSocket::Recycle(std::vector<ReceivedDatagram>& used) {
  std::uint64_t end = 0, spill = 0;
  for (const auto& d : used) {
    end = std::max(end, d.ringEnd);
    spill += d.spill.size();
  }
  used.clear();
  if (end == 0 && spill == 0) return;
  std::lock_guard lock(mutex_);
  readPos_ = std::max(readPos_, end);
  spillBytes_ -= std::min(spillBytes_, spill);
}

std::size_t UdpSocket::Pending() const {
  std::lock_guard lock(mutex_);
  return queue_.size();
}

bool UdpSocket::ReceivedWithin(std::int64_t us) const {
  return NowUs() - lastReceiveUs_.load(std::memory_order_relaxed) <= us;
}

std::uint64_t UdpSocket::Dropped() const {
  std::lock_guard lock(mutex_);
  return dropped_;
}

void UdpSocket::ReadLoop() {
  RaiseReaderPriority();
  // One spare byte per buffer tells an oversized datagram apart.
  const std::size_t bufferSize = receiveLimit_ + 1;
  std::vector<std::uint8_t> batchStorage(bufferSize * kBatch, 0);
  mmsghdr messages[kBatch];
  iovec vectors[kBatch];
  std::vector<ReceivedDatagram> batch;
  batch.reserve(kBatch);

  pollfd fds[2] = {{fd_, POLLIN, 0}, {stopFd_, POLLIN, 0}};
  for (;;) {
    if (::poll(fds, 2, -1) < 0) {
      if (errno == EINTR) continue;
      return;
    }
    if (fds[1].revents) return;
    if (!(fds[0].revents & (POLLIN | POLLERR))) continue;
    // Read everything that is there before handing it over.
    for (;;) {
      for (std::size_t i = 0; i < kBatch; ++i) {
        vectors[i] = {batchStorage.data() + i * bufferSize, bufferSize};
        std::memset(&messages[i], 0, sizeof messages[i]);
        messages[i].msg_hdr.msg_iov = &vectors[i];
        messages[i].msg_hdr.msg_iovlen = 1;
      }
      const int n = ::recvmmsg(fd_, messages, kBatch, MSG_DONTWAIT | MSG_TRUNC, nullptr);
      if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR)) break;
      const int error = n < 0 ? errno : 0;
      if (n > 0) lastReceiveUs_.store(NowUs(), std::memory_order_relaxed);

      std::uint64_t readPos, spilled;
      {
        std::lock_guard lock(mutex_);
        readPos = readPos_;
        spilled = spillBytes_;
      }
      for (int i = 0; i < n; ++i) {
        ReceivedDatagram d;
        d.length = messages[i].msg_len;
        if (d.length == 0 || d.length > receiveLimit_) {
          d.failed = true;
          d.error = d.length == 0 ? 0 : EMSGSIZE;
          batch.push_back(std::move(d));
          continue;
        }
        const std::uint8_t* bytes = batchStorage.data() + static_cast<std::size_t>(i) * bufferSize;
        // Place it in the ring, contiguous, skipping the ring's tail if needed.
        const std::size_t need = (d.length + 7) & ~std::size_t{7};
        const std::size_t offset = writePos_ % kRingBytes;
        const std::size_t skip = offset + need > kRingBytes ? kRingBytes - offset : 0;
        if (writePos_ + skip + need - readPos <= kRingBytes) {
          writePos_ += skip;
          std::uint8_t* at = ring_.get() + writePos_ % kRingBytes;
          std::memcpy(at, bytes, d.length);
          writePos_ += need;
          d.data = at;
          d.ringEnd = writePos_;
        } else if (spilled + d.length <= kSpillBytes) {
          d.spill.assign(bytes, bytes + d.length);
          d.data = d.spill.data();
          spilled += d.length;
        } else {
          std::lock_guard lock(mutex_);
          ++dropped_;
          continue;
        }
        batch.push_back(std::move(d));
      }
      if (n < 0) {
        ReceivedDatagram failed;
        failed.failed = true;
        failed.error = error;
        batch.push_back(std::move(failed));
      }

      bool wasEmpty;
      {
        std::lock_guard lock(mutex_);
        wasEmpty = queue_.empty();
        for (auto& d : batch) {
          if (queue_.size() >= kQueueLimit) {
            ++dropped_;  // its ring space comes back with the next handled datagram
            continue;
          }
          spillBytes_ += d.spill.size();
          queue_.push_back(std::move(d));
        }
      }
      batch.clear();
      if (wasEmpty && wake_) wake_();
      if (n < 0) {
        // A lasting fault must not spin the reader: pause before the next try.
        pollfd stop{stopFd_, POLLIN, 0};
        if (::poll(&stop, 1, 50) > 0) return;
        break;
      }
      if (n < static_cast<int>(kBatch)) break;
    }
  }
}

}  // namespace torvek
