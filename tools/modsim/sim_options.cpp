#include "sim_options.h"

#include <arpa/inet.h>

#include <cctype>
#include <charconv>
#include <cstring>
#include <functional>
#include <map>

#include "module_record.h"

namespace modsim {

namespace {

std::vector<std::string> SplitList(const std::string& text) {
  std::vector<std::string> items;
  std::size_t start = 0;
  while (true) {
    const std::size_t comma = text.find(',', start);
    items.push_back(text.substr(start, comma - start));
    if (comma == std::string::npos) break;
    start = comma + 1;
  }
  return items;
}

bool ParseNumber(const std::string& text, long long low, long long high, long long& value,
                 int base = 10) {
  if (text.empty()) return false;
  const char* end = text.data() + text.size();
  const auto [ptr, ec] = std::from_chars(text.data(), end, value, base);
  return ec == std::errc() && ptr == end && value >= low && value <= high;
}

template <typename T>
bool ParseNumberList(const std::string& text, long long low, long long high, std::vector<T>& out) {
  out.clear();
  for (const std::string& item : SplitList(text)) {
    long long value = 0;
    if (!ParseNumber(item, low, high, value)) return false;
    out.push_back(static_cast<T>(value));
  }
  return true;
}

bool ParseModel(const std::string& item, std::uint16_t& code) {
  if (item == "730") {
    code = kModelOrb730;
  } else if (item == "740") {
    code = kModelOrb740;
  } else if (item == "740P" || item == "740p") {
    code = kModelOrb740P;
  } else if (item.size() > 2 && item[0] == '0' && (item[1] == 'x' || item[1] == 'X')) {
    long long value = 0;
    if (!ParseNumber(item.substr(2), 0, 0xFFFF, value, 16)) return false;
    code = static_cast<std::uint16_t>(value);
  } else {
    return false;
  }
  return true;
}

// Eight characters; "\0" is a zero byte and "\\" a backslash.
bool ParseFirmware(const std::string& item, std::array<char, 8>& out) {
  std::string bytes;
  for (std::size_t i = 0; i < item.size(); ++i) {
    if (item[i] != '\\') {
      bytes += item[i];
      continue;
    }
    if (i + 1 == item.size()) return false;
    const char next = item[++i];
    if (next == '0') {
      bytes += '\0';
    } else if (next == '\\') {
      bytes += '\\';
    } else {
      return false;
    }
  }
  if (bytes.size() != out.size()) return false;
  std::memcpy(out.data(), bytes.data(), out.size());
  return true;
}

bool ParseMac(std::string text, std::uint64_t& mac) {
  std::string digits;
  for (const char c : text) {
    if (c == '-' || c == ':') continue;
    if (!std::isxdigit(static_cast<unsigned char>(c))) return false;
    digits += c;
  }
  long long value = 0;
  if (digits.size() != 12 || !ParseNumber(digits, 0, 0xFFFFFFFFFFFFLL, value, 16)) return false;
  mac = static_cast<std::uint64_t>(value);
  return true;
}

std::string WithNumber(const std::string& text, int number) {
  const std::size_t at = text.find("%d");
  if (at == std::string::npos) return text;
  return text.substr(0, at) + std::to_string(number) + text.substr(at + 2);
}

MacAddress MacFromNumber(std::uint64_t value) {
  MacAddress mac{};
  for (int i = 5; i >= 0; --i) {
    mac[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(value & 0xFF);
    value >>= 8;
  }
  return mac;
}

std::uint32_t AddressNumber(const Ipv4& a) {
  return (std::uint32_t{a[0]} << 24) | (std::uint32_t{a[1]} << 16) | (std::uint32_t{a[2]} << 8) |
         a[3];
}

Ipv4 AddressFromNumber(std::uint32_t n) {
  return {static_cast<std::uint8_t>(n >> 24), static_cast<std::uint8_t>(n >> 16),
          static_cast<std::uint8_t>(n >> 8), static_cast<std::uint8_t>(n)};
}

template <typename T>
const T& Cycle(const std::vector<T>& list, int index) {
  return list[static_cast<std::size_t>(index) % list.size()];
}

}  // namespace

const char* UsageText() {
  static const std::string text =
      std::string(
          "usage: torvek-modsim [options]\n"
          "Virtual modules on UDP 7980 that answer searches with module records.\n"
          "Run it inside the lab's module side: scripts/lab lan torvek-modsim ...\n"
          "Lists are comma separated and cycled over the modules.\n"
          "  --count N                modules, 1..30000 (1)\n"
          "  --models LIST            730, 740, 740P or a code like 0x1234 (730)\n"
          "  --versions LIST          1..255 (3)\n"
          "  --modes LIST             0..255 (0)\n"
          "  --names LIST             %d is the module number from 1; an empty item is no\n"
          "                           name; @fill fills the record to its end (mod%d)\n"
          "  --ssids LIST             at most 32 bytes, %d as above (ssid%d)\n"
          "  --iptypes LIST           0..255 (0)\n"
          "  --wan                    fill the WAN fields (172.16.x.y), for any version\n"
          "  --dhcp LIST              0..255 (0)\n"
          "  --firmware LIST          8 characters, \\0 is a zero byte (1.6.0003)\n"
          "  --base-ip A.B.C.D        first module's address, module i gets base+i\n"
          "                           (10.77.128.1)\n"
          "  --mac-base HEX12         first module's MAC, module i gets base+i\n"
          "                           (00-0E-E3-00-00-01)\n"
          "  --dup-mac                module 2 reports the MAC of module 1\n"
          "  --repeat N               answer every search N times over, 1..10000 (1)\n"
          "  --result R               result byte of the records, 0..255 (0)\n"
          "  --set-refusal R          refuse every Set with result R, 1..13 (0: take it)\n"
          "  --reboot-ms MS           a rebooted module misses searches this long (3000)\n"
          "  --truncate N             send only the first N bytes of every record\n"
          "  --pace-us U              microseconds between records; 0 is a burst (0)\n"
          "  --log FILE               append '<ip>:<port> <length> <hex>' per received datagram\n"
          "  --log-destination        end each log line with ' <address it was sent to>'\n"
          "  --ready FILE             create FILE (holding the pid) once the socket is bound\n"
          "  --exit-after-searches N  exit after answering N searches\n"
          "  --data MODE              serve TCP 5000, 5001 and UDP 5050, 5051 on every module's\n"
          "                           address: echo, text=TEXT (\\r \\n \\0 escapes), close or\n"
          "                           reset at the first data, refuse, stream=BYTES of lines\n"
          "                           or stream-raw=BYTES with no line break\n"
          "  --data-log FILE          append '<tcp|udp> <ip>:<port> <hex>' per data arrival\n"
          "  --lifetime S             exit after S seconds, 1..86400 (600)\n"
          "  --quiet                  no summary line per search\n") +
      FileUsageText() + MacWriteUsageText() + JigUsageText();
  return text.c_str();
}

bool ParseOptions(int argc, char** argv, SimOptions& o, std::string& error) {
  using Parser = std::function<bool(const std::string&)>;
  auto number = [](long long low, long long high, auto& target) {
    return [low, high, &target](const std::string& text) {
      long long value = 0;
      if (!ParseNumber(text, low, high, value)) return false;
      target = static_cast<std::remove_reference_t<decltype(target)>>(value);
      return true;
    };
  };
  auto byteList = [](std::vector<std::uint8_t>& target, long long low) {
    return
        [low, &target](const std::string& text) { return ParseNumberList(text, low, 255, target); };
  };

  std::map<std::string, Parser> withValue = {
      {"--count", number(1, kMaxModules, o.count)},
      {"--models",
       [&o](const std::string& text) {
         o.models.clear();
         for (const std::string& item : SplitList(text)) {
           std::uint16_t code = 0;
           if (!ParseModel(item, code)) return false;
           o.models.push_back(code);
         }
         return true;
       }},
      {"--versions", byteList(o.versions, 1)},
      {"--modes", byteList(o.modes, 0)},
      {"--iptypes", byteList(o.ipTypes, 0)},
      {"--dhcp", byteList(o.dhcp, 0)},
      {"--names",
       [&o](const std::string& text) {
         o.names.clear();
         for (const std::string& item : SplitList(text)) {
           if (item == "@fill") {
             o.names.push_back({NameKind::Fill, {}});
           } else {
             if (item.size() > kLongestName) return false;
             o.names.push_back({NameKind::Text, item});
           }
         }
         return true;
       }},
      {"--ssids",
       [&o](const std::string& text) {
         o.ssids = SplitList(text);
         for (const std::string& item : o.ssids) {
           if (item.size() > kSsidWidth) return false;
         }
         return true;
       }},
      {"--firmware",
       [&o](const std::string& text) {
         o.firmware.clear();
         for (const std::string& item : SplitList(text)) {
           std::array<char, 8> firmware{};
           if (!ParseFirmware(item, firmware)) return false;
           o.firmware.push_back(firmware);
         }
         return true;
       }},
      {"--base-ip",
       [&o](const std::string& text) {
         in_addr address{};
         if (inet_pton(AF_INET, text.c_str(), &address) != 1) return false;
         std::memcpy(o.baseIp.data(), &address.s_addr, 4);
         return true;
       }},
      {"--mac-base", [&o](const std::string& text) { return ParseMac(text, o.macBase); }},
      {"--repeat", number(1, 10000, o.repeat)},
      {"--result", number(0, 255, o.result)},
      {"--set-refusal", number(0, 13, o.setRefusal)},
      {"--reboot-ms", number(0, 600'000, o.rebootMs)},
      {"--truncate", number(0, static_cast<long long>(kFrameLength), o.truncate)},
      {"--pace-us", number(0, 10'000'000, o.paceUs)},
      {"--log",
       [&o](const std::string& text) {
         o.logPath = text;
         return !text.empty();
       }},
      {"--ready",
       [&o](const std::string& text) {
         o.readyPath = text;
         return !text.empty();
       }},
      {"--exit-after-searches", number(1, 1'000'000, o.exitAfterSearches)},
      {"--lifetime", number(1, 86400, o.lifetimeSeconds)},
      {"--data", [&o](const std::string& text) { return !(o.dataMode = text).empty(); }},
      {"--data-log", [&o](const std::string& text) { return !(o.dataLogPath = text).empty(); }},
  };
  withValue.merge(FileOptionParsers(o.files));
  withValue.merge(MacWriteOptionParsers(o.macWrite));
  withValue.merge(JigOptionParsers(o.jig));
  const std::map<std::string, bool*> flags = {
      {"--wan", &o.wan},     {"--dup-mac", &o.dupMac}, {"--log-destination", &o.logDestination},
      {"--quiet", &o.quiet}, {"--help", &o.help},      {"-h", &o.help}};

  for (int i = 1; i < argc; ++i) {
    std::string arg = argv[i];
    std::string value;
    bool inlineValue = false;
    if (const std::size_t eq = arg.find('='); arg.rfind("--", 0) == 0 && eq != std::string::npos) {
      value = arg.substr(eq + 1);
      arg.resize(eq);
      inlineValue = true;
    }
    if (const auto flag = flags.find(arg); flag != flags.end() && !inlineValue) {
      *flag->second = true;
      continue;
    }
    const auto parser = withValue.find(arg);
    if (parser == withValue.end()) {
      error = "unknown option " + arg;
      return false;
    }
    if (!inlineValue) {
      if (i + 1 == argc) {
        error = arg + " needs a value";
        return false;
      }
      value = argv[++i];
    }
    if (!parser->second(value)) {
      error = "bad value for " + arg + ": '" + value + "'";
      return false;
    }
  }

  if (o.dupMac && o.count < 2) {
    error = "--dup-mac needs --count 2 or more";
    return false;
  }
  if (std::uint64_t{AddressNumber(o.baseIp)} + static_cast<std::uint64_t>(o.count) - 1 >
      0xFFFFFFFFu) {
    error = "--base-ip leaves no room for " + std::to_string(o.count) + " modules";
    return false;
  }
  if (o.macBase + static_cast<std::uint64_t>(o.count) - 1 > 0xFFFFFFFFFFFFull) {
    error = "--mac-base leaves no room for " + std::to_string(o.count) + " modules";
    return false;
  }
  return true;
}

std::vector<VirtualModule> MakeModules(const SimOptions& o) {
  std::vector<VirtualModule> modules(static_cast<std::size_t>(o.count));
  const std::uint32_t base = AddressNumber(o.baseIp);
  for (int i = 0; i < o.count; ++i) {
    VirtualModule& m = modules[static_cast<std::size_t>(i)];
    const int number = i + 1;
    m.index = i;
    m.modelCode = Cycle(o.models, i);
    m.version = Cycle(o.versions, i);
    m.result = o.result;
    m.mode = Cycle(o.modes, i);
    m.dhcpServer = Cycle(o.dhcp, i);
    m.ipType = Cycle(o.ipTypes, i);
    m.mac = MacFromNumber(o.macBase + static_cast<std::uint64_t>(o.dupMac && i == 1 ? 0 : i));

    m.labAddress = AddressFromNumber(base + static_cast<std::uint32_t>(i));
    m.lanIp = m.labAddress;
    m.lanSubnet = {255, 255, 0, 0};
    m.lanGateway = {10, 77, 0, 1};

    if (o.wan) {
      m.wanIp = {172, 16, static_cast<std::uint8_t>(number >> 8),
                 static_cast<std::uint8_t>(number & 0xFF)};
      m.wanSubnet = {255, 255, 0, 0};
      m.wanGateway = {172, 16, 0, 1};
      // 02-57-41 is a locally administered prefix ("WA") that no module owns.
      m.wanMac = MacFromNumber(0x025741000000ull + static_cast<std::uint64_t>(number));
    }

    m.ssid = WithNumber(Cycle(o.ssids, i), number).substr(0, kSsidWidth);
    m.firmware = Cycle(o.firmware, i);
    const NameItem& name = Cycle(o.names, i);
    m.nameKind = name.kind;
    m.name = WithNumber(name.text, number);
  }
  return modules;
}

}  // namespace modsim
