#include "data_ports.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>

#include "module_datagrams.h"

namespace modsim {

namespace {

constexpr std::uint16_t kTcpPorts[] = {5000, 5001};
constexpr std::uint16_t kUdpPorts[] = {5050, 5051};

std::string Unescape(const std::string& text) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\\' || i + 1 == text.size()) {
      out += text[i];
      continue;
    }
    switch (text[++i]) {
      case 'r': out += '\r'; break;
      case 'n': out += '\n'; break;
      case '0': out += '\0'; break;
      default: out += text[i];
    }
  }
  return out;
}

std::string AddressOf(const sockaddr_in& address) {
  char text[INET_ADDRSTRLEN] = {};
  inet_ntop(AF_INET, &address.sin_addr, text, sizeof text);
  return text;
}

int Bound(int type, std::uint16_t port, std::string& error) {
  const int fd = socket(AF_INET, type | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  const int on = 1;
  setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  if (type == SOCK_DGRAM) setsockopt(fd, IPPROTO_IP, IP_PKTINFO, &on, sizeof on);
  sockaddr_in any{};
  any.sin_family = AF_INET;
  any.sin_port = htons(port);
  if (fd < 0 || bind(fd, reinterpret_cast<sockaddr*>(&any), sizeof any) != 0 ||
      (type == SOCK_STREAM && listen(fd, 64) != 0)) {
    error = "data port " + std::to_string(port) + ": " + std::strerror(errno);
    if (fd >= 0) close(fd);
    return -1;
  }
  return fd;
}

// Text of a stream: lines of 64 bytes, or one endless line.
void FillStream(std::string& out, long long from, std::size_t length, bool raw) {
  out.resize(length);
  for (std::size_t i = 0; i < length; ++i) {
    const long long at = from + static_cast<long long>(i);
    const long long column = at % 64;
    out[i] = column == 63 && !raw ? '\n' : static_cast<char>('!' + (at / 64 + column) % 90);
  }
}

}  // namespace

bool ParseDataMode(const std::string& value, DataPortMode& mode, std::string& error) {
  using Kind = DataPortMode::Kind;
  if (value == "echo") {
    mode.kind = Kind::Echo;
  } else if (value.rfind("text=", 0) == 0) {
    mode.kind = Kind::Text;
    mode.text = Unescape(value.substr(5));
  } else if (value == "close") {
    mode.kind = Kind::Close;
  } else if (value == "reset") {
    mode.kind = Kind::Reset;
  } else if (value == "refuse") {
    mode.kind = Kind::Refuse;
  } else if (value.rfind("stream=", 0) == 0 || value.rfind("stream-raw=", 0) == 0) {
    mode.kind = Kind::Stream;
    mode.rawStream = value[6] == '-';
    const char* begin = value.data() + value.find('=') + 1;
    const char* end = value.data() + value.size();
    const auto [ptr, ec] = std::from_chars(begin, end, mode.streamBytes);
    if (ec != std::errc() || ptr != end || mode.streamBytes < 0) {
      error = "bad stream size in --data " + value;
      return false;
    }
  } else {
    error = "bad value for --data: '" + value + "'";
    return false;
  }
  return true;
}

DataPorts::DataPorts(DataPortMode mode, const std::vector<VirtualModule>& modules,
                     std::string logPath)
    : mode_(std::move(mode)), logPath_(std::move(logPath)) {
  for (const VirtualModule& m : modules)
    modules_.push_back(static_cast<std::uint32_t>(m.labAddress[0]) << 24 |
                       static_cast<std::uint32_t>(m.labAddress[1]) << 16 |
                       static_cast<std::uint32_t>(m.labAddress[2]) << 8 | m.labAddress[3]);
  std::sort(modules_.begin(), modules_.end());
}

DataPorts::~DataPorts() { Stop(); }

bool DataPorts::Start(std::string& error) {
  if (!logPath_.empty() && !(log_ = std::fopen(logPath_.c_str(), "a"))) {
    error = "cannot open " + logPath_;
    return false;
  }
  if (mode_.kind != DataPortMode::Kind::Refuse) {
    for (std::uint16_t port : kTcpPorts) {
      const int fd = Bound(SOCK_STREAM, port, error);
      if (fd < 0) return false;
      listeners_.insert(listeners_.end(), {fd, port});
    }
  }
  for (std::uint16_t port : kUdpPorts) {
    const int fd = Bound(SOCK_DGRAM, port, error);
    if (fd < 0) return false;
    datagrams_.insert(datagrams_.end(), {fd, port});
  }
  stopFd_ = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  thread_ = std::thread([this] { Run(); });
  return true;
}

void DataPorts::Stop() {
  if (thread_.joinable()) {
    const std::uint64_t one = 1;
    if (write(stopFd_, &one, sizeof one) < 0) std::perror("modsim: data ports");
    thread_.join();
  }
  for (std::size_t i = 0; i < listeners_.size(); i += 2) close(listeners_[i]);
  for (std::size_t i = 0; i < datagrams_.size(); i += 2) close(datagrams_[i]);
  for (Connection& c : connections_) close(c.fd);
  listeners_.clear();
  datagrams_.clear();
  connections_.clear();
  if (stopFd_ >= 0) close(stopFd_);
  stopFd_ = -1;
  if (log_) std::fclose(log_);
  log_ = nullptr;
}

bool DataPorts::IsModule(std::uint32_t address) const {
  return std::binary_search(modules_.begin(), modules_.end(), address);
}

void DataPorts::Log(const char* protocol, const std::string& address, std::uint16_t port,
                    const std::uint8_t* data, std::size_t length) {
  if (!log_) return;
  std::string hex;
  static const char kDigits[] = "0123456789abcdef";
  for (std::size_t i = 0; i < length; ++i) {
    hex += kDigits[data[i] >> 4];
    hex += kDigits[data[i] & 15];
  }
  std::fprintf(log_, "%s %s:%u %s\n", protocol, address.c_str(), port, hex.c_str());
  std::fflush(log_);
}

std::string DataPorts::Answer(const std::uint8_t* data, std::size_t length) const {
  if (mode_.kind == DataPortMode::Kind::Text) return mode_.text;
  return std::string(reinterpret_cast<const char*>(data), length);
}

void DataPorts::Run() {
  std::vector<pollfd> fds;
  while (true) {
    fds.clear();
    fds.push_back({stopFd_, POLLIN, 0});
    for (std::size_t i = 0; i < listeners_.size(); i += 2)
      fds.push_back({listeners_[i], POLLIN, 0});
    for (std::size_t i = 0; i < datagrams_.size(); i += 2)
      fds.push_back({datagrams_[i], POLLIN, 0});
    for (const Connection& c : connections_) {
      const bool writing = !c.pending.empty() || c.streamLeft > 0;
      fds.push_back({c.fd, static_cast<short>(writing ? POLLOUT : POLLIN), 0});
    }
    if (poll(fds.data(), fds.size(), -1) < 0) {
      if (errno == EINTR) continue;
      return;
    }
    if (fds[0].revents) return;
    std::size_t at = 1;
    for (std::size_t i = 0; i < listeners_.size(); i += 2, ++at)
      if (fds[at].revents) Accept(listeners_[i], static_cast<std::uint16_t>(listeners_[i + 1]));
    for (std::size_t i = 0; i < datagrams_.size(); i += 2, ++at)
      if (fds[at].revents)
        ReadDatagrams(datagrams_[i], static_cast<std::uint16_t>(datagrams_[i + 1]));
    // Connections accepted in this round are not among the polled ones.
    const std::size_t polled = fds.size() - at;
    for (std::size_t i = 0; i < polled; ++i, ++at) {
      Connection& c = connections_[i];
      if (fds[at].revents & POLLOUT)
        WriteConnection(c);
      else if (fds[at].revents)
        ReadConnection(c);
    }
    std::erase_if(connections_, [](const Connection& c) { return c.fd < 0; });
  }
}

void DataPorts::Accept(int listener, std::uint16_t port) {
  sockaddr_in peer{};
  socklen_t length = sizeof peer;
  const int fd =
      accept4(listener, reinterpret_cast<sockaddr*>(&peer), &length, SOCK_NONBLOCK | SOCK_CLOEXEC);
  if (fd < 0) return;
  sockaddr_in local{};
  length = sizeof local;
  getsockname(fd, reinterpret_cast<sockaddr*>(&local), &length);
  if (!IsModule(ntohl(local.sin_addr.s_addr))) {
    // No module has that address: as if nothing were there.
    const linger reset{1, 0};
    setsockopt(fd, SOL_SOCKET, SO_LINGER, &reset, sizeof reset);
    close(fd);
    return;
  }
  Connection c;
  c.fd = fd;
  c.port = port;
  c.address = AddressOf(local);
  if (mode_.kind == DataPortMode::Kind::Stream) c.streamLeft = mode_.streamBytes;
  connections_.push_back(std::move(c));
}

void DataPorts::ReadConnection(Connection& c) {
  std::uint8_t buffer[65536];
  const ssize_t n = recv(c.fd, buffer, sizeof buffer, 0);
  if (n < 0 && (errno == EAGAIN || errno == EINTR)) return;
  if (n <= 0) {
    close(c.fd);
    c.fd = -1;
    return;
  }
  Log("tcp", c.address, c.port, buffer, static_cast<std::size_t>(n));
  switch (mode_.kind) {
    case DataPortMode::Kind::Reset: {
      const linger reset{1, 0};
      setsockopt(c.fd, SOL_SOCKET, SO_LINGER, &reset, sizeof reset);
      [[fallthrough]];
    }
    case DataPortMode::Kind::Close:
      close(c.fd);
      c.fd = -1;
      return;
    case DataPortMode::Kind::Stream: return;
    default: c.pending += Answer(buffer, static_cast<std::size_t>(n)); WriteConnection(c);
  }
}

void DataPorts::WriteConnection(Connection& c) {
  const auto nextStretch = [this, &c] {
    if (!c.pending.empty() || c.streamLeft <= 0) return;
    FillStream(c.pending, mode_.streamBytes - c.streamLeft,
               static_cast<std::size_t>(std::min<long long>(c.streamLeft, 1 << 16)),
               mode_.rawStream);
    c.streamLeft -= static_cast<long long>(c.pending.size());
  };
  nextStretch();
  while (!c.pending.empty()) {
    const ssize_t n = send(c.fd, c.pending.data(), c.pending.size(), MSG_NOSIGNAL);
    if (n < 0) {
      if (errno == EAGAIN || errno == EINTR) return;
      close(c.fd);
      c.fd = -1;
      return;
    }
    c.pending.erase(0, static_cast<std::size_t>(n));
    nextStretch();
  }
  // A finished stream ends with an orderly close.
  if (mode_.kind == DataPortMode::Kind::Stream) {
    close(c.fd);
    c.fd = -1;
  }
}

void DataPorts::ReadDatagrams(int fd, std::uint16_t port) {
  for (int i = 0; i < 64; ++i) {
    std::uint8_t buffer[65536];
    sockaddr_in from{};
    in_addr to{};
    const ssize_t n = ReceiveAt(fd, buffer, sizeof buffer, from, to);
    if (n < 0) return;
    if (!IsModule(ntohl(to.s_addr))) continue;
    sockaddr_in local{};
    local.sin_addr = to;
    Log("udp", AddressOf(local), port, buffer, static_cast<std::size_t>(n));
    if (mode_.kind != DataPortMode::Kind::Echo && mode_.kind != DataPortMode::Kind::Text) continue;
    // The answer leaves from the module's own address, to the sender's port.
    const std::string answer = Answer(buffer, static_cast<std::size_t>(n));
    SendFrom(fd, from, to, answer.data(), answer.size());
  }
}

}  // namespace modsim
