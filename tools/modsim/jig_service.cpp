#include "jig_service.h"

#include <arpa/inet.h>
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

constexpr std::uint16_t kJigPort = 9998;
constexpr std::size_t kRequestLength = 130;
constexpr std::uint8_t kCodeOffset = 0x30;

// 0x.. in hexadecimal, anything else in decimal.
bool ParseByte(const std::string& text, std::uint8_t& out) {
  int base = 10;
  std::size_t from = 0;
  if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
    base = 16;
    from = 2;
  }
  unsigned value = 0;
  const char* end = text.data() + text.size();
  const auto [ptr, ec] = std::from_chars(text.data() + from, end, value, base);
  if (from == text.size() || ec != std::errc() || ptr != end || value > 255) return false;
  out = static_cast<std::uint8_t>(value);
  return true;
}

std::vector<std::string> Split(const std::string& text) {
  std::vector<std::string> items;
  std::size_t start = 0;
  for (std::size_t comma; (comma = text.find(',', start)) != std::string::npos; start = comma + 1)
    items.push_back(text.substr(start, comma - start));
  items.push_back(text.substr(start));
  return items;
}

// ITEM=VALUE pairs, comma separated.
bool ParseBytePairs(const std::string& text, std::map<std::uint8_t, std::uint8_t>& out) {
  for (const std::string& pair : Split(text)) {
    const std::size_t eq = pair.find('=');
    std::uint8_t item = 0, value = 0;
    if (eq == std::string::npos || !ParseByte(pair.substr(0, eq), item) ||
        !ParseByte(pair.substr(eq + 1), value))
      return false;
    out[item] = value;
  }
  return true;
}

std::string Hex(const std::uint8_t* data, std::size_t length) {
  static const char kDigits[] = "0123456789abcdef";
  std::string hex;
  for (std::size_t i = 0; i < length; ++i) {
    hex += kDigits[data[i] >> 4];
    hex += kDigits[data[i] & 15];
  }
  return hex;
}

std::string AddressText(in_addr address) {
  char text[INET_ADDRSTRLEN] = {};
  inet_ntop(AF_INET, &address, text, sizeof text);
  return text;
}

}  // namespace

std::map<std::string, std::function<bool(const std::string&)>> JigOptionParsers(JigOptions& o) {
  return {
      {"--jig",
       [&o](const std::string& text) {
         if (text != "good" && text != "fail") return false;
         o.result = text == "good" ? 0 : 1;
         return o.enabled = true;
       }},
      {"--jig-result",
       [&o](const std::string& text) {
         return (o.enabled = true) && ParseBytePairs(text, o.results);
       }},
      {"--jig-code",
       [&o](const std::string& text) {
         return (o.enabled = true) && ParseBytePairs(text, o.codes);
       }},
      {"--jig-text",
       [&o](const std::string& text) {
         // One item a time, so that the text may hold commas; repeatable.
         const std::size_t eq = text.find('=');
         std::uint8_t item = 0;
         if (eq == std::string::npos || !ParseByte(text.substr(0, eq), item)) return false;
         o.texts[item] = text.substr(eq + 1);
         return o.enabled = true;
       }},
      {"--jig-silent",
       [&o](const std::string& text) {
         for (const std::string& item : Split(text)) {
           std::uint8_t value = 0;
           if (!ParseByte(item, value)) return false;
           o.silent.insert(value);
         }
         return o.enabled = true;
       }},
      {"--jig-log",
       [&o](const std::string& text) {
         o.logPath = text;
         return o.enabled = !text.empty();
       }},
  };
}

const char* JigUsageText() {
  return "  --jig MODE               serve the jig test on UDP 9998 of every module's address;\n"
         "                           good or fail is every item's result (0 or 1)\n"
         "  --jig-result ITEM=R,...  the result byte of these items (0x16=1)\n"
         "  --jig-text ITEM=TEXT     the text of an item's answer; repeatable\n"
         "                           (item NN good / item NN failed)\n"
         "  --jig-code ITEM=CODE,... answer these items with another code (item + 0x30)\n"
         "  --jig-silent ITEM,...    never answer these items\n"
         "  --jig-log FILE           append '<module> <ip>:<port> <length> <hex>' per request\n";
}

std::string JigAnswerFor(const JigOptions& o, const std::uint8_t* request, std::size_t length) {
  // Anything but a well-formed request goes unanswered, as on a module.
  if (length != kRequestLength || request[1] != 1) return {};
  const std::uint8_t item = request[0];
  if (o.silent.count(item)) return {};
  const auto result = o.results.find(item);
  const std::uint8_t r = result != o.results.end() ? result->second : o.result;
  const auto code = o.codes.find(item);
  std::string answer;
  answer += static_cast<char>(
      code != o.codes.end() ? code->second : static_cast<std::uint8_t>(item + kCodeOffset));
  answer += static_cast<char>(r);
  answer += '\0';  // not read by the tool
  if (const auto text = o.texts.find(item); text != o.texts.end()) {
    answer += text->second;
  } else {
    answer += "item " + Hex(&item, 1) + (r == 0 ? " good" : " failed");
  }
  answer += '\0';
  return answer;
}

JigService::JigService(JigOptions options, const std::vector<VirtualModule>& modules)
    : options_(std::move(options)) {
  for (const VirtualModule& m : modules)
    modules_.push_back(static_cast<std::uint32_t>(m.labAddress[0]) << 24 |
                       static_cast<std::uint32_t>(m.labAddress[1]) << 16 |
                       static_cast<std::uint32_t>(m.labAddress[2]) << 8 | m.labAddress[3]);
  std::sort(modules_.begin(), modules_.end());
}

JigService::~JigService() { Stop(); }

bool JigService::Start(std::string& error) {
  if (!options_.logPath.empty() && !(log_ = std::fopen(options_.logPath.c_str(), "a"))) {
    error = "cannot open " + options_.logPath;
    return false;
  }
  fd_ = socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  const int on = 1;
  sockaddr_in any{};
  any.sin_family = AF_INET;
  any.sin_port = htons(kJigPort);
  if (fd_ < 0 || setsockopt(fd_, IPPROTO_IP, IP_PKTINFO, &on, sizeof on) != 0 ||
      bind(fd_, reinterpret_cast<sockaddr*>(&any), sizeof any) != 0) {
    error = std::string("jig port 9998: ") + std::strerror(errno);
    return false;
  }
  stopFd_ = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  thread_ = std::thread([this] { Run(); });
  return true;
}

void JigService::Stop() {
  if (thread_.joinable()) {
    const std::uint64_t one = 1;
    if (write(stopFd_, &one, sizeof one) < 0) std::perror("modsim: jig service");
    thread_.join();
  }
  if (fd_ >= 0) close(fd_);
  if (stopFd_ >= 0) close(stopFd_);
  fd_ = stopFd_ = -1;
  if (log_) std::fclose(log_);
  log_ = nullptr;
}

void JigService::Run() {
  while (true) {
    pollfd fds[] = {{stopFd_, POLLIN, 0}, {fd_, POLLIN, 0}};
    if (poll(fds, 2, -1) < 0) {
      if (errno == EINTR) continue;
      return;
    }
    if (fds[0].revents) return;
    if (fds[1].revents) ReadRequests();
  }
}

void JigService::ReadRequests() {
  for (int i = 0; i < 64; ++i) {
    std::uint8_t buffer[65536];
    sockaddr_in from{};
    in_addr to{};
    const ssize_t n = ReceiveAt(fd_, buffer, sizeof buffer, from, to);
    if (n < 0) return;
    // No module has that address (a broadcast among them): nobody hears it.
    if (!std::binary_search(modules_.begin(), modules_.end(), ntohl(to.s_addr))) continue;
    const auto length = static_cast<std::size_t>(n);
    if (log_) {
      std::fprintf(log_, "%s %s:%u %zu %s\n", AddressText(to).c_str(),
                   AddressText(from.sin_addr).c_str(), ntohs(from.sin_port), length,
                   Hex(buffer, length).c_str());
      std::fflush(log_);
    }
    const std::string answer = JigAnswerFor(options_, buffer, length);
    if (answer.empty()) continue;
    // The answer leaves from the module's own address, to the asker's port.
    SendFrom(fd_, from, to, answer.data(), answer.size());
  }
}

}  // namespace modsim
