// A virtual U-Boot: '4' at its boot menu gives the command line; then
// environment, TFTP loads, and a NOR flash of 64 sectors of 64 KiB at
// 0xbf000000 whose first four sectors are protected and which writes only
// where it was erased.
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "boot_line.h"

namespace bootsim {

namespace {

const char* const kPrompt = "\r\nRT30xx # ";
constexpr std::uint32_t kFlashBase = 0xbf000000u;
constexpr std::uint32_t kSector = 0x10000u;
constexpr int kSectors = 64;

struct Flash {
  std::array<bool, kSectors> protect{};
  std::array<bool, kSectors> erased{};
  Flash() {
    for (int s = 0; s < 4; ++s) protect[static_cast<std::size_t>(s)] = true;
  }
};

// "1:3" or "1:5-63" as a range of sectors of bank 1.
bool Sectors(const std::string& arg, int& first, int& last) {
  if (std::sscanf(arg.c_str(), "1:%d-%d", &first, &last) == 2)
    return first <= last && last < kSectors;
  if (std::sscanf(arg.c_str(), "1:%d", &first) == 1) {
    last = first;
    return first >= 0 && first < kSectors;
  }
  return false;
}

std::vector<std::string> Split(const std::string& text, char by) {
  std::vector<std::string> out;
  std::string piece;
  std::istringstream in(text);
  while (std::getline(in, piece, by)) out.push_back(piece);
  return out;
}

}  // namespace

int RunUBoot(BootLine& line) {
  line.Write(
      "\r\nU-Boot 1.1.3 (virtual board)\r\n\r\nPlease choose the operation: \r\n"
      "   1: Load system code to SDRAM via TFTP. \r\n"
      "   3: Boot system code via Flash (default).\r\n"
      "   4: Boot command line interface.\r\n");
  char c = 0;
  do {
    if (!line.ReadByte(c)) return 1;
  } while (c != '4');
  if (!line.Answering("break-in")) {
    while (line.ReadByte(c)) {
    }
    return 0;
  }
  line.Write("\r\nYou choosed 4\r\n\r\n4: System Enter Boot Command Line Interface.\r\n");
  line.Prompt(kPrompt);

  std::map<std::string, std::string> env;
  Flash flash;
  std::string printedSize;
  for (std::string commandLine; line.ReadLine(commandLine);) {
    if (!line.Answering(commandLine)) continue;
    for (const std::string& command : Split(commandLine, ';')) {
      const std::vector<std::string> w = Words(command);
      if (w.empty()) continue;
      if (w[0] == "setenv" && w.size() == 3) {
        env[w[1]] = w[2];
      } else if (w[0] == "tftp" && w.size() == 3) {
        line.Write("\r\nTFTP from server " + env["serverip"] + "; our IP address is " +
                   env["ipaddr"] + "\r\nFilename '" + w[2] + "'.\r\nLoad address: 0x" + w[1] +
                   "\r\nLoading: ");
        if (!line.Fetch(env["serverip"], w[2])) {
          line.Write("\r\nTFTP error: 'File not found' (1)\r\nNot retrying...\r\n");
          continue;
        }
        char text[96];
        std::snprintf(text, sizeof text,
                      "#################\r\ndone\r\nBytes transferred = %zu (%zx hex)\r\n",
                      line.ram.size(), line.ram.size());
        line.Write(text);
        // The size as this loader prints it; the tool is to hand it back as is.
        std::snprintf(text, sizeof text, "%zx", line.ram.size());
        printedSize = text;
        line.Write("NetBootFileXferSize=" + printedSize + "\r\n");
      } else if (w[0] == "protect" && w.size() == 3 && w[1] == "off") {
        int first = 0;
        int last = 0;
        if (!Sectors(w[2], first, last)) continue;
        for (int s = first; s <= last; ++s) flash.protect[static_cast<std::size_t>(s)] = false;
        line.Write("Un-Protected " + std::to_string(last - first + 1) + " sectors\r\n");
      } else if (w[0] == "erase" && w.size() == 2) {
        int first = 0;
        int last = 0;
        if (!Sectors(w[1], first, last)) continue;
        bool locked = false;
        for (int s = first; s <= last; ++s)
          locked = locked || flash.protect[static_cast<std::size_t>(s)];
        if (locked) {
          line.Write("Protected sectors will not be erased!\r\n");
          continue;
        }
        for (int s = first; s <= last; ++s) flash.erased[static_cast<std::size_t>(s)] = true;
        line.Write("\r\nErase Flash Sectors " + std::to_string(first) + "-" + std::to_string(last) +
                   " in Bank # 1 \r\nErasing done\r\nErased " + std::to_string(last - first + 1) +
                   " sectors\r\n");
      } else if (w[0] == "cp.b" && w.size() == 4) {
        const std::uint32_t to =
            static_cast<std::uint32_t>(std::strtoul(w[2].c_str(), nullptr, 16));
        const std::size_t length = std::strtoul(w[3].c_str(), nullptr, 16);
        if (w[3] != printedSize) line.Report("cp.b size " + w[3] + " differs from " + printedSize);
        bool ready = length > 0 && to >= kFlashBase && w[1] == "80100000";
        for (std::uint32_t a = to; ready && a < to + length; a += kSector) {
          const std::uint32_t s = (a - kFlashBase) / kSector;
          ready = s < kSectors && flash.erased[s];
        }
        if (!ready) {
          line.Write("Copy to Flash... Error: not erased\r\n");
          continue;
        }
        for (std::uint32_t a = to; a < to + length; a += kSector)
          flash.erased[(a - kFlashBase) / kSector] = false;
        line.Write("\r\n Copy to Flash... ");
        line.Flash("cp.b", to, length);
        line.Write("done\r\n");
      } else if (w[0] == "reset") {
        line.Report("reset");
        line.Write("\r\nresetting ...\r\n");
        return 0;
      } else {
        line.Write("Unknown command '" + w[0] + "' - try 'help'\r\n");
      }
    }
    line.Prompt(kPrompt);
  }
  return 0;
}

}  // namespace bootsim
