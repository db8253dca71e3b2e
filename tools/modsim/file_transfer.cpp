#include "file_transfer.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>

#include "module_record.h"

namespace modsim {

namespace {

// A flash status word as --data-mix gives it: 1 to 8 hexadecimal digits.
bool IsStatusWord(const std::string& text) {
  return !text.empty() && text.size() <= 8 &&
         text.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos;
}

// File block fields behind the header.
constexpr std::size_t kFileSizeAt = 23;
constexpr std::size_t kSeqAt = 27;
constexpr std::size_t kDataLengthAt = 29;
constexpr std::size_t kDataAt = 33;
constexpr std::size_t kBlock = 1000;
constexpr std::uint8_t kDone = 24;

std::uint32_t U32(const std::uint8_t* bytes, std::size_t length, std::size_t at) {
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < 4; ++i)
    if (at + i < length) value |= static_cast<std::uint32_t>(bytes[at + i]) << (8 * i);
  return value;
}

void PutU32(std::uint8_t* at, std::uint32_t value) {
  for (int i = 0; i < 4; ++i) at[i] = static_cast<std::uint8_t>(value >> (8 * i));
}

std::string MacName(const MacAddress& mac) {
  char text[18];
  std::snprintf(text, sizeof text, "%02X-%02X-%02X-%02X-%02X-%02X", mac[0], mac[1], mac[2], mac[3],
                mac[4], mac[5]);
  return text;
}

std::uint8_t AnswerOf(std::uint8_t get) {
  switch (get) {
    case 50: return 51;
    case 54: return 55;
    default: return 62;
  }
}

bool ReadWhole(const std::string& path, std::vector<std::uint8_t>& out) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return false;
  out.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  return true;
}

double Percentile(std::vector<double> values, double p) {
  if (values.empty()) return 0;
  std::sort(values.begin(), values.end());
  const auto at = static_cast<std::size_t>(p * static_cast<double>(values.size() - 1) + 0.5);
  return values[std::min(at, values.size() - 1)];
}

}  // namespace

std::map<std::string, std::function<bool(const std::string&)>> FileOptionParsers(FileOptions& o) {
  const auto path = [](std::string& target) {
    return [&target](const std::string& text) {
      target = text;
      return !text.empty();
    };
  };
  return {
      {"--files-dir", path(o.filesDir)},
      {"--serve-config", path(o.configPath)},
      {"--serve-log", path(o.logPath)},
      {"--serve-logo", path(o.logoPath)},
      {"--config-size",
       [&o](const std::string& text) {
         const auto [end, ec] =
             std::from_chars(text.data(), text.data() + text.size(), o.configSize);
         return ec == std::errc() && end == text.data() + text.size() && o.configSize >= 0 &&
                o.configSize <= 16'000'000;
       }},
      {"--data-mix",
       [&o](const std::string& text) {
         o.dataMix.clear();
         std::size_t start = 0;
         while (start <= text.size()) {
           const std::size_t comma = std::min(text.find(',', start), text.size());
           const std::string item = text.substr(start, comma - start);
           const bool known =
               item == "repeat" || item == "swap" || item == "16" ||
               (item.size() == 2 && item[0] == '2' && item[1] >= '0' && item[1] <= '3') ||
               (item.rfind("14=", 0) == 0 && IsStatusWord(item.substr(3)));
           if (!known) return false;
           o.dataMix.push_back(item);
           start = comma + 1;
         }
         return true;
       }},
  };
}

const char* FileUsageText() {
  return "  --files-dir DIR          keep every finished upload as DIR/<MAC>-<command>.bin,\n"
         "                           with a line in DIR/uploads.log\n"
         "  --serve-config FILE      the configuration a Get fetches (made up otherwise)\n"
         "  --config-size N          size of the made-up configuration (65536)\n"
         "  --serve-log FILE         the system log a Get fetches (made up otherwise)\n"
         "  --serve-logo FILE        the logo a Get fetches (none otherwise)\n"
         "  --data-mix LIST          answers behind the first data block: 14=HEX, 16,\n"
         "                           20..23, repeat, swap\n";
}

FileTransfer::FileTransfer(const FileOptions& options, const std::vector<VirtualModule>& modules,
                           Sender send)
    : options_(options), modules_(modules), send_(std::move(send)) {
  for (const VirtualModule& m : modules_) {
    std::uint32_t key = 0;
    std::memcpy(&key, m.labAddress.data(), 4);
    byAddress_.emplace(key, m.index);
  }
}

FileTransfer::~FileTransfer() {
  // What never finished is kept too, and said so.
  for (auto& [key, upload] : uploads_)
    if (!upload.written) Write(modules_[static_cast<std::size_t>(key.first)], upload);
}

bool FileTransfer::IsUpload(std::uint8_t command) {
  return command == 48 || command == 52 || command == 56;
}

bool FileTransfer::IsGet(std::uint8_t command) {
  return command == 50 || command == 54 || command == 61;
}

const VirtualModule* FileTransfer::ModuleAt(const in_addr& to) const {
  std::uint32_t key = 0;
  std::memcpy(&key, &to.s_addr, 4);
  const auto found = byAddress_.find(key);
  return found == byAddress_.end() ? nullptr : &modules_[static_cast<std::size_t>(found->second)];
}

void FileTransfer::OnUploadBlock(const std::vector<const VirtualModule*>& modules,
                                 const std::uint8_t* bytes, std::size_t length,
                                 Clock::time_point arrived) {
  const std::uint8_t command = bytes[offset::command];
  const std::uint32_t index = U32(bytes, length, offset::statusWord);
  const std::uint32_t fileSize = U32(bytes, length, kFileSizeAt);
  const std::uint32_t seq = U32(bytes, length, kSeqAt) & 0xFFFF;
  const std::size_t arrivedData = length > kDataAt ? length - kDataAt : 0;
  const std::size_t dataLength =
      std::min<std::size_t>({U32(bytes, length, kDataLengthAt), arrivedData, kBlock});
  for (const VirtualModule* m : modules) {
    Upload& upload = uploads_[{m->index, command}];
    if (index == 0 || upload.fileSize != fileSize) {
      // A new upload of this kind: the one before is kept as it ended.
      if (upload.lastIndex >= 0 && !upload.written) Write(*m, upload);
      upload = Upload{};
      upload.command = command;
      upload.fileSize = fileSize;
      upload.data.assign(fileSize, 0);
      upload.got.assign((fileSize + kBlock - 1) / kBlock, false);
    }
    upload.arrivals.push_back(arrived);
    if (seq != (index & 0xFFFF)) ++upload.seqMismatches;
    if (static_cast<std::int64_t>(index) != upload.lastIndex + 1) ++upload.gaps;
    upload.lastIndex = index;
    if (index >= upload.got.size()) continue;
    if (upload.got[index]) {
      ++upload.repeats;
      continue;
    }
    upload.got[index] = true;
    ++upload.blocksGot;
    const std::size_t at = std::size_t{index} * kBlock;
    std::memcpy(upload.data.data() + at, bytes + kDataAt,
                std::min(dataLength, upload.data.size() - at));
    if (upload.blocksGot == upload.got.size()) Write(*m, upload);
  }
}

void FileTransfer::Write(const VirtualModule& module, Upload& upload) {
  upload.written = true;
  if (options_.filesDir.empty()) return;
  const std::string name = MacName(module.mac) + "-" + std::to_string(upload.command);
  std::FILE* file = std::fopen((options_.filesDir + "/" + name + ".bin").c_str(), "wb");
  if (file == nullptr) {
    std::fprintf(stderr, "modsim: cannot write %s: %s\n", name.c_str(), std::strerror(errno));
    return;
  }
  std::fwrite(upload.data.data(), 1, upload.data.size(), file);
  std::fclose(file);

  std::vector<double> gaps;
  for (std::size_t i = 1; i < upload.arrivals.size(); ++i)
    gaps.push_back(
        std::chrono::duration<double, std::milli>(upload.arrivals[i] - upload.arrivals[i - 1])
            .count());
  const double span = upload.arrivals.empty()
                          ? 0
                          : std::chrono::duration<double, std::milli>(upload.arrivals.back() -
                                                                      upload.arrivals.front())
                                .count();
  if (std::FILE* log = std::fopen((options_.filesDir + "/uploads.log").c_str(), "a")) {
    std::fprintf(log,
                 "%s complete=%d size=%u blocks=%zu of %zu repeats=%zu gaps=%zu seq_mismatches=%zu "
                 "span_ms=%.3f interval_median_ms=%.3f interval_p99_ms=%.3f\n",
                 name.c_str(), upload.blocksGot == upload.got.size() ? 1 : 0, upload.fileSize,
                 upload.blocksGot, upload.got.size(), upload.repeats, upload.gaps,
                 upload.seqMismatches, span, Percentile(gaps, 0.5), Percentile(gaps, 0.99));
    std::fclose(log);
  }
}

std::vector<std::uint8_t> FileTransfer::Content(std::uint8_t command, bool& none) const {
  none = false;
  std::vector<std::uint8_t> out;
  if (command == 54) {
    none = options_.logoPath.empty() || !ReadWhole(options_.logoPath, out);
    return out;
  }
  if (command == 50) {
    if (!options_.configPath.empty() && ReadWhole(options_.configPath, out)) return out;
    out.resize(static_cast<std::size_t>(options_.configSize));
    for (std::size_t i = 0; i < out.size(); ++i) out[i] = static_cast<std::uint8_t>(i * 13 + 7);
    return out;
  }
  if (!options_.logPath.empty() && ReadWhole(options_.logPath, out)) return out;
  for (int line = 1; line <= 100; ++line) {
    const std::string text = "<6>virtual module log line " + std::to_string(line) + "\n";
    out.insert(out.end(), text.begin(), text.end());
  }
  return out;
}

void FileTransfer::OnGet(const VirtualModule& module, const std::uint8_t* bytes, std::size_t length,
                         const sockaddr_in& from) {
  MacAddress peer{};
  for (std::size_t i = 0; i < peer.size(); ++i)
    peer[i] = offset::sourceMac + i < length ? bytes[offset::sourceMac + i] : 0;
  const std::uint8_t answer = AnswerOf(bytes[offset::command]);
  bool none = false;
  const std::vector<std::uint8_t> content = Content(bytes[offset::command], none);
  std::array<std::uint8_t, kFrameLength> frame{};
  const auto send = [&](std::uint8_t result, std::uint32_t status, std::uint32_t seq,
                        std::size_t block, std::size_t n) {
    frame.fill(0);
    BuildAnswer(module, peer, answer, result, frame.data());
    PutU32(frame.data() + offset::statusWord, status);
    PutU32(frame.data() + kFileSizeAt, none ? 0 : static_cast<std::uint32_t>(content.size()));
    frame[kSeqAt] = static_cast<std::uint8_t>(seq & 0xFF);
    frame[kSeqAt + 1] = static_cast<std::uint8_t>((seq >> 8) & 0xFF);
    PutU32(frame.data() + kDataLengthAt, static_cast<std::uint32_t>(n));
    if (n > 0) std::memcpy(frame.data() + kDataAt, content.data() + block * kBlock, n);
    send_(module, from, frame.data(), frame.size());
  };
  if (none) {
    send(0, 0, 0, 0, 0);
    return;
  }
  // Data block k carries seq k; mixed-in answers carry seqs of their own.
  const std::size_t blocks = (content.size() + kBlock - 1) / kBlock;
  const auto sendBlock = [&](std::size_t k) {
    send(0, 0, static_cast<std::uint32_t>(k), k, std::min(kBlock, content.size() - k * kBlock));
  };
  std::vector<std::size_t> order;
  for (std::size_t k = 0; k < blocks; ++k) order.push_back(k);
  std::size_t next = 0;
  if (blocks > 0) sendBlock(order[next++]);
  std::uint32_t extraSeq = 0x8000;
  for (const std::string& item : options_.dataMix) {
    if (item == "repeat" && next > 0) {
      sendBlock(order[next - 1]);
    } else if (item == "swap") {
      if (next + 1 < order.size()) std::swap(order[next], order[next + 1]);
    } else if (item.rfind("14=", 0) == 0) {
      send(14, static_cast<std::uint32_t>(std::stoul(item.substr(3), nullptr, 16)), extraSeq++, 0,
           0);
    } else if (item != "repeat") {
      send(static_cast<std::uint8_t>(std::stoi(item)), 0, extraSeq++, 0, 0);
    }
  }
  while (next < order.size()) sendBlock(order[next++]);
  send(kDone, 0, static_cast<std::uint32_t>(blocks), 0, 0);
}

}  // namespace modsim
