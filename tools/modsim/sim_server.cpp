#include "sim_server.h"

#include <arpa/inet.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

namespace modsim {

namespace {

using namespace std::chrono_literals;

// A record that the kernel refuses for this long is counted as failed.
constexpr auto kGiveUp = 2s;
// Pause after ENOBUFS: a full device queue has no event to wait for.
constexpr auto kNoBufferPause = 1ms;
// Longest stretch of sending before incoming frames are read again.
constexpr auto kSendSlice = 20ms;
constexpr std::size_t kDrainLimit = 256;
constexpr int kSocketBuffer = 4 << 20;
// Uploads to hundreds of modules at once arrive at thousands of datagrams a
// second; a busy machine can leave this process off the CPU for a good part
// of a second, and the socket must hold what comes meanwhile.
constexpr int kReceiveBuffer = 32 << 20;
// Datagrams taken from the kernel per call.
constexpr std::size_t kReceiveBatch = 64;
constexpr std::size_t kReceiveSize = 4096;

std::string AddressText(const sockaddr_in& address) {
  char text[INET_ADDRSTRLEN] = {};
  inet_ntop(AF_INET, &address.sin_addr, text, sizeof text);
  return std::string(text) + ":" + std::to_string(ntohs(address.sin_port));
}

std::string AddressText(const Ipv4& address) {
  return std::to_string(address[0]) + "." + std::to_string(address[1]) + "." +
         std::to_string(address[2]) + "." + std::to_string(address[3]);
}

in_addr InAddr(const Ipv4& address) {
  in_addr result{};
  std::memcpy(&result.s_addr, address.data(), 4);
  return result;
}

// True when address belongs to this network namespace, as every module
// address does on the lab's module side.
bool IsLocalAddress(const Ipv4& address) {
  const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (fd < 0) return false;
  sockaddr_in local{};
  local.sin_family = AF_INET;
  local.sin_addr = InAddr(address);
  const bool ok = bind(fd, reinterpret_cast<const sockaddr*>(&local), sizeof local) == 0;
  close(fd);
  return ok;
}

double Milliseconds(std::chrono::steady_clock::duration d) {
  return std::chrono::duration<double, std::milli>(d).count();
}

timespec ToTimespec(std::chrono::steady_clock::duration d) {
  const auto ns = std::max<std::int64_t>(0, std::chrono::nanoseconds(d).count());
  return timespec{static_cast<time_t>(ns / 1'000'000'000), static_cast<long>(ns % 1'000'000'000)};
}

// Room for one IP_PKTINFO block: a datagram's source address when sending,
// its destination when receiving.
struct alignas(cmsghdr) SourceControl {
  char bytes[CMSG_SPACE(sizeof(in_pktinfo))];
};

// Fills header's name, one buffer and the source address of the datagram.
void PrepareMessage(msghdr& header, sockaddr_in* to, iovec* iov, SourceControl& control,
                    const Ipv4& source) {
  header.msg_name = to;
  header.msg_namelen = sizeof *to;
  header.msg_iov = iov;
  header.msg_iovlen = 1;
  header.msg_control = control.bytes;
  header.msg_controllen = sizeof control.bytes;
  cmsghdr* c = CMSG_FIRSTHDR(&header);
  c->cmsg_level = IPPROTO_IP;
  c->cmsg_type = IP_PKTINFO;
  c->cmsg_len = CMSG_LEN(sizeof(in_pktinfo));
  in_pktinfo info{};
  info.ipi_spec_dst = InAddr(source);
  std::memcpy(CMSG_DATA(c), &info, sizeof info);
}

}  // namespace

SimServer::SimServer(const SimOptions& options, std::vector<VirtualModule> modules)
    : options_(options), modules_(std::move(modules)), receiveBuffer_(kReceiveBatch * kReceiveSize),
      sendBuffers_(kBatch),
      files_(options_.files, modules_,
             [this](const VirtualModule& module, const sockaddr_in& to, const std::uint8_t* bytes,
                    std::size_t length) {
               iovec iov{const_cast<std::uint8_t*>(bytes), length};
               SourceControl control{};
               sockaddr_in peer = to;
               msghdr header{};
               PrepareMessage(header, &peer, &iov, control, module.labAddress);
               if (sendmsg(fd_, &header, 0) < 0)
                 std::fprintf(stderr, "modsim: data answer failed: %s\n", std::strerror(errno));
             }),
      macLog_(options_.macWrite.logPath) {
  handlers_[kCommandSearch] = &SimServer::OnSearch;
  handlers_[kCommandSetNetwork] = &SimServer::OnSetNetwork;
  handlers_[kCommandReboot] = &SimServer::OnReboot;
  handlers_[kCommandFactoryDefault] = &SimServer::OnFactoryDefault;
  handlers_[kCommandSetCompanyId] = &SimServer::OnSetCompanyId;
  handlers_[kCommandWriteMac] = &SimServer::OnWriteMac;
  for (int command = 0; command < 256; ++command)
    if (FileTransfer::IsUpload(command) || FileTransfer::IsGet(command))
      handlers_[command] = &SimServer::OnFileFrame;
}

SimServer::~SimServer() {
  if (fd_ >= 0) close(fd_);
  if (log_ != nullptr) std::fclose(log_);
}

bool SimServer::Open(std::string& error) {
  // Outside the lab the module addresses are not ours; refuse rather than
  // answer searches on a real network.
  for (const VirtualModule* m : {&modules_.front(), &modules_.back()}) {
    if (!IsLocalAddress(m->labAddress)) {
      error = AddressText(m->labAddress) +
              " is not an address of this machine; run modsim in the lab's module side "
              "(scripts/lab lan ...)";
      return false;
    }
  }

  fd_ = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (fd_ < 0) {
    error = std::string("socket: ") + std::strerror(errno);
    return false;
  }
  const int on = 1;
  setsockopt(fd_, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  // Tells each datagram's destination, for the log.
  setsockopt(fd_, IPPROTO_IP, IP_PKTINFO, &on, sizeof on);
  // Best effort: the kernel caps both at its own limits.
  // Beyond the system's cap where the lab's privilege allows it.
  if (setsockopt(fd_, SOL_SOCKET, SO_RCVBUFFORCE, &kReceiveBuffer, sizeof kReceiveBuffer) != 0)
    setsockopt(fd_, SOL_SOCKET, SO_RCVBUF, &kReceiveBuffer, sizeof kReceiveBuffer);
  setsockopt(fd_, SOL_SOCKET, SO_SNDBUF, &kSocketBuffer, sizeof kSocketBuffer);
  int granted = 0;
  socklen_t grantedSize = sizeof granted;
  getsockopt(fd_, SOL_SOCKET, SO_RCVBUF, &granted, &grantedSize);
  if (granted < kReceiveBuffer && !options_.quiet)
    std::fprintf(stderr,
                 "modsim: receive buffer %d KiB of %d KiB asked (net.core.rmem_max); uploads to "
                 "many modules may lose datagrams\n",
                 granted / 1024, kReceiveBuffer / 1024);
  sockaddr_in any{};
  any.sin_family = AF_INET;
  any.sin_port = htons(kCommandPort);
  any.sin_addr.s_addr = htonl(INADDR_ANY);
  if (bind(fd_, reinterpret_cast<const sockaddr*>(&any), sizeof any) != 0) {
    error = "cannot bind UDP port " + std::to_string(kCommandPort) + ": " + std::strerror(errno);
    return false;
  }

  if (!options_.logPath.empty()) {
    log_ = std::fopen(options_.logPath.c_str(), "a");
    if (log_ == nullptr) {
      error = "cannot open log " + options_.logPath + ": " + std::strerror(errno);
      return false;
    }
  }

  if (!options_.readyPath.empty()) {
    // Written aside and renamed, so a waiting test never sees it half made.
    const std::string temporary = options_.readyPath + ".tmp";
    std::FILE* ready = std::fopen(temporary.c_str(), "w");
    const bool written = ready != nullptr && std::fprintf(ready, "%d\n", getpid()) > 0;
    if (ready != nullptr && std::fclose(ready) != 0) ready = nullptr;
    if (!written || ready == nullptr ||
        std::rename(temporary.c_str(), options_.readyPath.c_str()) != 0) {
      error = "cannot write ready file " + options_.readyPath + ": " + std::strerror(errno);
      return false;
    }
  }

  if (!options_.quiet) {
    std::fprintf(stderr, "modsim: %zu modules on UDP %u, addresses %s to %s\n", modules_.size(),
                 kCommandPort, AddressText(modules_.front().labAddress).c_str(),
                 AddressText(modules_.back().labAddress).c_str());
  }
  return true;
}

int SimServer::Run(const volatile std::sig_atomic_t& stop) {
  sigset_t waitMask;
  pthread_sigmask(SIG_SETMASK, nullptr, &waitMask);
  sigdelset(&waitMask, SIGINT);
  sigdelset(&waitMask, SIGTERM);

  const auto deadline = Clock::now() + std::chrono::seconds(options_.lifetimeSeconds);
  const char* reason = "lifetime over";
  while (true) {
    if (stop) {
      reason = "stopped by signal";
      break;
    }
    const auto now = Clock::now();
    if (now >= deadline) break;
    if (options_.exitAfterSearches > 0 && searchesAnswered_ >= options_.exitAfterSearches) {
      reason = "searches done";
      break;
    }

    pollfd socket{fd_, POLLIN, 0};
    auto wake = deadline;
    if (!jobs_.empty()) {
      const AnswerJob& job = jobs_.front();
      if (job.waitWritable) {
        socket.events |= POLLOUT;
        wake = std::min(wake, job.stuckSince + kGiveUp);
      } else {
        wake = std::min(wake, std::max(job.due, now));
      }
    }
    if (!delayed_.empty()) wake = std::min(wake, std::max(delayed_.front().due, now));
    const timespec timeout = ToTimespec(wake - now);
    if (ppoll(&socket, 1, &timeout, &waitMask) < 0) {
      if (errno == EINTR) continue;
      std::fprintf(stderr, "modsim: poll: %s\n", std::strerror(errno));
      return 1;
    }
    if (socket.revents & POLLIN) DrainSocket();
    SendDueAnswers();
    if (!jobs_.empty()) {
      AnswerJob& job = jobs_.front();
      if (socket.revents & POLLOUT) job.waitWritable = false;
      ProgressJob(job);
      if (job.next >= job.total) {
        FinishJob(job);
        jobs_.pop_front();
      }
    }
  }

  for (const AnswerJob& job : jobs_) {
    std::fprintf(stderr,
                 "modsim: %s before the answer to %s was complete: %zu of %zu records unsent\n",
                 reason, AddressText(job.to).c_str(), job.total - job.next, job.total);
  }
  if (!options_.quiet) {
    std::fprintf(stderr, "modsim: %s, %d searches answered\n", reason, searchesAnswered_);
  }
  return 0;
}

void SimServer::DrainSocket() {
  // Batches of datagrams per call; each is handled in arrival order.
  std::array<mmsghdr, kReceiveBatch> headers{};
  std::array<iovec, kReceiveBatch> iovs{};
  std::array<SourceControl, kReceiveBatch> controls{};
  std::array<sockaddr_in, kReceiveBatch> from{};
  for (std::size_t taken = 0; taken < kDrainLimit;) {
    for (std::size_t i = 0; i < kReceiveBatch; ++i) {
      iovs[i] = {receiveBuffer_.data() + i * kReceiveSize, kReceiveSize};
      msghdr& message = headers[i].msg_hdr;
      message = {};
      message.msg_name = &from[i];
      message.msg_namelen = sizeof from[i];
      message.msg_iov = &iovs[i];
      message.msg_iovlen = 1;
      message.msg_control = controls[i].bytes;
      message.msg_controllen = sizeof controls[i].bytes;
    }
    const int n = recvmmsg(fd_, headers.data(), kReceiveBatch, MSG_DONTWAIT, nullptr);
    if (n < 0) {
      if (errno == EINTR) continue;
      if (errno != EAGAIN && errno != EWOULDBLOCK) {
        std::fprintf(stderr, "modsim: receive: %s\n", std::strerror(errno));
      }
      return;
    }
    const auto arrived = Clock::now();
    for (int k = 0; k < n; ++k) {
      const auto i = static_cast<std::size_t>(k);
      msghdr& message = headers[i].msg_hdr;
      Datagram datagram;
      datagram.from = from[i];
      for (cmsghdr* c = CMSG_FIRSTHDR(&message); c != nullptr; c = CMSG_NXTHDR(&message, c)) {
        if (c->cmsg_level == IPPROTO_IP && c->cmsg_type == IP_PKTINFO) {
          in_pktinfo info{};
          std::memcpy(&info, CMSG_DATA(c), sizeof info);
          datagram.to = info.ipi_addr;
        }
      }
      datagram.bytes = static_cast<const std::uint8_t*>(iovs[i].iov_base);
      datagram.length = headers[i].msg_len;
      datagram.arrived = arrived;
      LogDatagram(datagram);
      Dispatch(datagram);
    }
    taken += static_cast<std::size_t>(n);
    if (static_cast<std::size_t>(n) < kReceiveBatch) return;
  }
}

void SimServer::Dispatch(const Datagram& datagram) {
  if (datagram.length <= offset::command) return;
  const Handler handler = handlers_[datagram.bytes[offset::command]];
  if (handler != nullptr) (this->*handler)(datagram);
}

void SimServer::LogDatagram(const Datagram& datagram) {
  if (log_ == nullptr) return;
  static constexpr char kDigits[] = "0123456789abcdef";
  hexLine_ = AddressText(datagram.from) + " " + std::to_string(datagram.length) + " ";
  for (std::size_t i = 0; i < datagram.length; ++i) {
    hexLine_ += kDigits[datagram.bytes[i] >> 4];
    hexLine_ += kDigits[datagram.bytes[i] & 0x0F];
  }
  if (options_.logDestination) {
    char to[INET_ADDRSTRLEN] = {};
    inet_ntop(AF_INET, &datagram.to, to, sizeof to);
    hexLine_ += ' ';
    hexLine_ += to;
  }
  hexLine_ += '\n';
  std::fwrite(hexLine_.data(), 1, hexLine_.size(), log_);
  std::fflush(log_);
}

void SimServer::OnSearch(const Datagram& datagram) {
  if (options_.exitAfterSearches > 0 && searchesTaken_ >= options_.exitAfterSearches) return;
  ++searchesTaken_;

  AnswerJob job;
  job.to = datagram.from;
  for (std::size_t i = 0; i < job.searcherMac.size(); ++i) {
    job.searcherMac[i] = datagram.At(offset::sourceMac + i);
  }
  job.modules.reserve(modules_.size());
  for (const VirtualModule& m : modules_) {
    if (m.hiddenUntil <= datagram.arrived)
      job.modules.push_back(static_cast<std::uint32_t>(m.index));
  }
  job.total = job.modules.size() * static_cast<std::size_t>(options_.repeat);
  job.started = datagram.arrived;
  job.due = datagram.arrived;
  if (job.total == 0) {
    FinishJob(job);
  } else {
    jobs_.push_back(std::move(job));
  }
}

void SimServer::ProgressJob(AnswerJob& job) {
  const auto now = Clock::now();
  if (job.waitWritable) {
    if (now - job.stuckSince < kGiveUp) return;
    // The send buffer never drained: give this record up and go on.
    job.waitWritable = false;
    NoteSendError(job, EAGAIN);
  }
  if (now < job.due) return;

  if (options_.paceUs > 0) {
    const std::size_t before = job.next;
    SendBatch(job, 1);
    if (job.next != before) {
      job.due += std::chrono::microseconds(options_.paceUs);
      job.due = std::max(job.due, now);
    }
    return;
  }

  const auto sliceEnd = now + kSendSlice;
  while (job.next < job.total) {
    SendBatch(job, std::min(kBatch, job.total - job.next));
    if (job.waitWritable) return;
    const auto after = Clock::now();
    if (after < job.due || after >= sliceEnd) return;
  }
}

void SimServer::SendBatch(AnswerJob& job, std::size_t count) {
  std::array<mmsghdr, kBatch> messages{};
  std::array<iovec, kBatch> iovs{};
  std::array<SourceControl, kBatch> controls{};

  for (std::size_t j = 0; j < count; ++j) {
    const std::size_t k = job.next + j;
    const VirtualModule& module = modules_[job.modules[k % job.modules.size()]];
    std::size_t length = BuildModuleRecord(module, job.searcherMac, sendBuffers_[j].data());
    if (options_.truncate >= 0)
      length = std::min(length, static_cast<std::size_t>(options_.truncate));
    iovs[j] = {sendBuffers_[j].data(), length};

    // Each record leaves from its own module's address.
    PrepareMessage(messages[j].msg_hdr, &job.to, &iovs[j], controls[j], module.labAddress);
  }

  int sent = 0;
  do {
    sent = sendmmsg(fd_, messages.data(), static_cast<unsigned>(count), MSG_DONTWAIT);
  } while (sent < 0 && errno == EINTR);

  if (sent > 0) {
    job.next += static_cast<std::size_t>(sent);
    job.sent += static_cast<std::size_t>(sent);
    job.stuck = false;
    return;
  }
  const int error = errno;
  const auto now = Clock::now();
  if (error == EAGAIN || error == EWOULDBLOCK || error == ENOBUFS) {
    if (!job.stuck) {
      job.stuck = true;
      job.stuckSince = now;
    }
    if (now - job.stuckSince >= kGiveUp) {
      NoteSendError(job, error);
    } else if (error == ENOBUFS) {
      job.due = now + kNoBufferPause;
    } else {
      job.waitWritable = true;
    }
    return;
  }
  // Anything else is about this record alone (a bad source address, say).
  NoteSendError(job, error);
}

std::vector<VirtualModule*> SimServer::Targets(const Datagram& datagram) {
  MacAddress target{};
  for (std::size_t i = 0; i < target.size(); ++i) target[i] = datagram.At(offset::targetMac + i);
  const bool all =
      std::all_of(target.begin(), target.end(), [](std::uint8_t b) { return b == 0xFF; });
  std::vector<VirtualModule*> out;
  for (VirtualModule& m : modules_)
    if (all || m.mac == target) out.push_back(&m);
  return out;
}

void SimServer::SendAnswer(const VirtualModule& module, const Datagram& datagram,
                           std::uint8_t command, std::uint8_t result) {
  MacAddress peer{};
  for (std::size_t i = 0; i < peer.size(); ++i) peer[i] = datagram.At(offset::sourceMac + i);
  SendAnswerTo(module, datagram, peer, command, result);
}

void SimServer::SendAnswerTo(const VirtualModule& module, const Datagram& datagram,
                             const MacAddress& peer, std::uint8_t command, std::uint8_t result) {
  std::array<std::uint8_t, kHeaderLength> bytes{};
  iovec iov{bytes.data(), BuildAnswer(module, peer, command, result, bytes.data())};
  SourceControl control{};
  sockaddr_in to = datagram.from;
  msghdr header{};
  PrepareMessage(header, &to, &iov, control, module.labAddress);
  if (sendmsg(fd_, &header, 0) < 0)
    std::fprintf(stderr, "modsim: answer %d of %s failed: %s\n", command,
                 AddressText(module.labAddress).c_str(), std::strerror(errno));
}

void SimServer::OnSetNetwork(const Datagram& datagram) {
  // The addresses come as 32-bit values, little-endian: last dotted field first.
  const auto address = [&datagram](std::size_t at) {
    return Ipv4{datagram.At(at + 3), datagram.At(at + 2), datagram.At(at + 1), datagram.At(at)};
  };
  for (VirtualModule* m : Targets(datagram)) {
    if (options_.setRefusal == 0) {
      m->dhcpServer = datagram.At(offset::dhcpServer);
      m->lanIp = address(offset::lanIp);
      m->lanSubnet = address(offset::lanSubnet);
      m->lanGateway = address(offset::lanGateway);
    }
    SendAnswer(*m, datagram, kAnswerNetworkChanged, static_cast<std::uint8_t>(options_.setRefusal));
  }
}

void SimServer::OnReboot(const Datagram& datagram) {
  for (VirtualModule* m : Targets(datagram))
    m->hiddenUntil = datagram.arrived + std::chrono::milliseconds(options_.rebootMs);
}

void SimServer::OnFactoryDefault(const Datagram& datagram) {
  for (VirtualModule* m : Targets(datagram)) {
    m->dhcpServer = 0;
    m->lanIp = m->labAddress;
    m->lanSubnet = {255, 255, 0, 0};
    m->lanGateway = {10, 77, 0, 1};
    m->companyId = 0;
    SendAnswer(*m, datagram, kAnswerSearchAgain, 0);
  }
}

void SimServer::OnSetCompanyId(const Datagram& datagram) {
  std::uint32_t id = 0;
  for (std::size_t i = 0; i < 4; ++i)
    id |= static_cast<std::uint32_t>(datagram.At(offset::companyRow + i)) << (8 * i);
  for (VirtualModule* m : Targets(datagram)) m->companyId = id;
}

void SimServer::OnWriteMac(const Datagram& datagram) {
  const MacWriteOptions& o = options_.macWrite;
  MacAddress newMac{};
  for (std::size_t i = 0; i < newMac.size(); ++i) newMac[i] = datagram.At(kNewMacOffset + i);
  for (VirtualModule* m : Targets(datagram)) {
    if (m->hiddenUntil > datagram.arrived) continue;  // rebooting: hears nothing
    if (o.answerCode != 0) {
      MacAddress peer{};
      for (std::size_t i = 0; i < peer.size(); ++i) peer[i] = datagram.At(offset::sourceMac + i);
      if (o.answerTarget) peer = *o.answerTarget;
      const auto command = static_cast<std::uint8_t>(o.answerCode);
      if (o.answerDelayMs > 0)
        delayed_.push_back({datagram.arrived + std::chrono::milliseconds(o.answerDelayMs),
                            static_cast<std::size_t>(m - modules_.data()), datagram.from, peer,
                            command, o.result});
      else
        SendAnswerTo(*m, datagram, peer, command, o.result);
    }
    if (o.result != 0) continue;
    macLog_.Note(m->mac, newMac);
    m->mac = newMac;
    m->hiddenUntil = datagram.arrived +
                     std::chrono::milliseconds(o.rebootMs >= 0 ? o.rebootMs : options_.rebootMs);
  }
}

void SimServer::SendDueAnswers() {
  const auto now = Clock::now();
  while (!delayed_.empty() && delayed_.front().due <= now) {
    const DelayedAnswer& answer = delayed_.front();
    Datagram datagram{};
    datagram.from = answer.to;
    SendAnswerTo(modules_[answer.module], datagram, answer.peer, answer.command, answer.result);
    delayed_.pop_front();
  }
}

void SimServer::OnFileFrame(const Datagram& datagram) {
  const std::uint8_t command = datagram.bytes[offset::command];
  // A unicast block reaches the module it was sent to; anything else goes by
  // its target MAC.
  std::vector<const VirtualModule*> reached;
  if (const VirtualModule* m = files_.ModuleAt(datagram.to))
    reached.push_back(m);
  else
    for (VirtualModule* m : Targets(datagram)) reached.push_back(m);
  if (FileTransfer::IsUpload(command)) {
    files_.OnUploadBlock(reached, datagram.bytes, datagram.length, datagram.arrived);
    return;
  }
  for (const VirtualModule* m : reached)
    files_.OnGet(*m, datagram.bytes, datagram.length, datagram.from);
}

void SimServer::NoteSendError(AnswerJob& job, int error) {
  if (!job.errorReported) {
    const VirtualModule& module = modules_[job.modules[job.next % job.modules.size()]];
    std::fprintf(stderr, "modsim: record of %s to %s failed: %s\n",
                 AddressText(module.labAddress).c_str(), AddressText(job.to).c_str(),
                 std::strerror(error));
    job.errorReported = true;
  }
  ++job.failed;
  ++job.next;
  job.stuck = false;
}

void SimServer::FinishJob(const AnswerJob& job) {
  ++searchesAnswered_;
  if (options_.quiet) return;
  std::fprintf(stderr, "modsim: search from %s answered with %zu records (%zu failed) in %.1f ms\n",
               AddressText(job.to).c_str(), job.sent, job.failed,
               Milliseconds(Clock::now() - job.started));
}

}  // namespace modsim
