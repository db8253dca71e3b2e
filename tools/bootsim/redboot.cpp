// A virtual RedBoot: Ctrl-C at power-on gives its prompt; then addresses,
// loads by TFTP, and flash images created after the overwrite question.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "boot_line.h"

namespace bootsim {

namespace {

const char* const kPrompt = "RedBoot> ";

std::string Hex(std::uint32_t value) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%08x", value);
  return text;
}

}  // namespace

int RunRedBoot(BootLine& line) {
  char c = 0;
  do {
    if (!line.ReadByte(c)) return 1;
  } while (c != '\x03');
  if (!line.Answering("break-in")) {
    while (line.ReadByte(c)) {
    }
    return 0;
  }
  line.Write(
      "^C\r\nRedBoot(tm) bootstrap and debug environment [ROM]\r\n"
      "Virtual board, flash 4 MB\r\n\r\n");
  line.Prompt(kPrompt);

  std::string server;
  std::uint32_t loadedLength = 0;
  for (std::string command; line.ReadLine(command);) {
    const std::vector<std::string> w = Words(command);
    if (!line.Answering(command)) continue;
    if (w.empty()) {
      // A line of blanks: the boot loader prompts again.
      line.Prompt(kPrompt);
      continue;
    }
    if (w[0] == "ip_address" && w.size() == 5 && w[1] == "-l" && w[3] == "-h") {
      server = w[4];
      line.Write("IP: " + w[2] + "/255.255.255.0, Gateway: 0.0.0.0\r\nDefault server: " + server +
                 "\r\n");
    } else if (w[0] == "load" && w.size() == 5 && w[1] == "-r" && w[2] == "-b") {
      const std::uint32_t base = static_cast<std::uint32_t>(std::strtoul(w[3].c_str(), nullptr, 0));
      if (server.empty() || !line.Fetch(server, w[4])) {
        line.Write("Can't load '" + w[4] + "': TFTP error\r\n");
      } else {
        loadedLength = static_cast<std::uint32_t>(line.ram.size());
        line.Write("Raw file loaded " + Hex(base) + "-" + Hex(base + loadedLength - 1) +
                   ", assumed entry at " + Hex(base) + "\r\n");
      }
    } else if (w[0] == "fis" && w.size() >= 3 && w[1] == "create") {
      // Flash address: -f, else the entry of a ROM image at the flash base.
      std::uint32_t flash = 0;
      std::uint32_t entry = 0;
      for (std::size_t i = 2; i + 1 < w.size(); i += 2) {
        const std::uint32_t v =
            static_cast<std::uint32_t>(std::strtoul(w[i + 1].c_str(), nullptr, 0));
        if (w[i] == "-f") flash = v;
        if (w[i] == "-e") entry = v;
      }
      if (!flash) flash = entry;
      const std::string& name = w.back();
      line.Prompt("An image named '" + name + "' exists - continue (y/n)?");
      char answer = 0;
      while (line.ReadByte(answer) && answer != 'y' && answer != 'n') {
      }
      if (answer != 'y') {
        line.Write("\r\n** Aborted\r\n");
      } else {
        line.Write("\r\n... Erase from " + Hex(flash) + "-" + Hex(flash + loadedLength - 1) +
                   ": ....\r\n... Program from 0x80100000-" + Hex(0x80100000u + loadedLength - 1) +
                   " at " + Hex(flash) + ": ....\r\n");
        line.Flash(name, flash, loadedLength);
      }
    } else if (w[0] == "reset") {
      line.Report("reset");
      line.Write("... Resetting.");
      return 0;
    } else {
      line.Write("** Error: Illegal command: \"" + w[0] + "\"\r\n");
    }
    line.Prompt(kPrompt);
  }
  return 0;
}

}  // namespace bootsim
