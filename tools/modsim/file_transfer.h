// Files on the virtual modules: every upload is put back together per module
// and kept, and a Get is answered with a configuration, a system log or a
// logo in data blocks, with status and errors mixed in on request.
#pragma once

#include <netinet/in.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "virtual_module.h"

namespace modsim {

struct FileOptions {
  // Where finished uploads are written as <MAC>-<command>.bin, each with a
  // line in uploads.log. Empty: uploads are still counted, nothing written.
  std::string filesDir;
  // What a Get serves; a missing file serves a made-up one.
  std::string configPath;
  long configSize = 65536;
  std::string logPath;
  // No logo file: the module has none.
  std::string logoPath;
  // Answers mixed in behind the first data block, in order: "14=HEX" (flash
  // status), "16", "20".."23" (errors), "repeat" (the block before, again),
  // "swap" (the next two blocks change places).
  std::vector<std::string> dataMix;
};

// The parsers of the options above, by name, for the command line.
std::map<std::string, std::function<bool(const std::string&)>> FileOptionParsers(FileOptions& o);
const char* FileUsageText();

class FileTransfer {
 public:
  using Clock = std::chrono::steady_clock;
  // Sends a frame from module's address to `to`.
  using Sender = std::function<void(const VirtualModule& module, const sockaddr_in& to,
                                    const std::uint8_t* bytes, std::size_t length)>;

  FileTransfer(const FileOptions& options, const std::vector<VirtualModule>& modules, Sender send);
  ~FileTransfer();

  static bool IsUpload(std::uint8_t command);
  static bool IsGet(std::uint8_t command);

  // One file block that reached these modules.
  void OnUploadBlock(const std::vector<const VirtualModule*>& modules, const std::uint8_t* bytes,
                     std::size_t length, Clock::time_point arrived);
  // A Get for module from the tool at `from`.
  void OnGet(const VirtualModule& module, const std::uint8_t* bytes, std::size_t length,
             const sockaddr_in& from);
  // The module a unicast datagram was sent to, or nothing for a broadcast.
  const VirtualModule* ModuleAt(const in_addr& to) const;

 private:
  struct Upload {
    std::uint8_t command = 0;
    std::uint32_t fileSize = 0;
    std::vector<std::uint8_t> data;
    std::vector<bool> got;
    std::size_t blocksGot = 0;
    std::size_t repeats = 0;
    std::size_t gaps = 0;
    std::size_t seqMismatches = 0;
    std::int64_t lastIndex = -1;
    std::vector<Clock::time_point> arrivals;
    bool written = false;
  };
  void Write(const VirtualModule& module, Upload& upload);
  std::vector<std::uint8_t> Content(std::uint8_t command, bool& none) const;

  FileOptions options_;
  const std::vector<VirtualModule>& modules_;
  Sender send_;
  std::unordered_map<std::uint32_t, int> byAddress_;
  std::map<std::pair<int, std::uint8_t>, Upload> uploads_;
};

}  // namespace modsim
