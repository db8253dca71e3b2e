// torvek-bootsim: a virtual RedBoot or U-Boot on the far end of a serial line
// (a pseudo-terminal), for the lab. It fetches what it is told to load from
// the server it is given with the real tftp-hpa client and keeps each flash
// write as DIR/<address>.bin, with a line in DIR/report.txt; every command it
// read goes to DIR/commands.txt.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "boot_line.h"

namespace {

void Usage(std::FILE* out = stderr) {
  std::fprintf(out,
               "usage: torvek-bootsim --tty PATH --dir DIR [--loader redboot|uboot]\n"
               "         [--tftp-port N] [--slow MS] [--silent-at WORD|break-in] [--split]\n"
               "         [--fail-transfer FILE]\n");
}

void Help() {
  Usage(stdout);
  std::printf(
      "\n"
      "A virtual boot loader of an ORB730 (RedBoot) or ORB740 (U-Boot) at the far end of a\n"
      "serial line, for trying the Console and the Upgrader without a module.\n"
      "\n"
      "  --tty PATH            the line: one end of a pseudo-terminal pair, e.g. made by\n"
      "                        socat pty,raw,echo=0,link=/tmp/a pty,raw,echo=0,link=/tmp/b\n"
      "                        (Torvek opens the other end as its COMn)\n"
      "  --dir DIR             where each flash write is kept, as DIR/<flash address>.bin,\n"
      "                        with a line and its CRC-32 in DIR/report.txt; every command\n"
      "                        read goes to DIR/commands.txt\n"
      "  --loader redboot|uboot  which boot loader to play (default redboot)\n"
      "  --tftp-port N         the port of the TFTP server that images are loaded from,\n"
      "                        at the server address the loader is given (default 69)\n"
      "  --slow MS             wait MS milliseconds before every answer\n"
      "  --silent-at WORD      answer nothing from the first command that starts with\n"
      "                        WORD on; \"break-in\" never answers the break-in keys, as a\n"
      "                        module that does not stop in its loader\n"
      "  --split               send each prompt and question in two writes\n"
      "  --fail-transfer FILE  the transfer of FILE fails: the server is asked for a name\n"
      "                        it does not have\n"
      "  --version             the version\n"
      "\n"
      "It ends when the line closes.\n");
}

}  // namespace

int main(int argc, char** argv) {
  bootsim::Options options;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    const bool hasValue = i + 1 < argc;
    if (arg == "--help" || arg == "-h") {
      Help();
      return 0;
    } else if (arg == "--version") {
      std::printf("torvek-bootsim %s\n", TORVEK_VERSION);
      return 0;
    } else if (arg == "--split") {
      options.split = true;
    } else if (arg == "--tty" && hasValue) {
      options.tty = argv[++i];
    } else if (arg == "--dir" && hasValue) {
      options.dir = argv[++i];
    } else if (arg == "--loader" && hasValue) {
      options.loader = argv[++i];
    } else if (arg == "--tftp-port" && hasValue) {
      options.tftpPort = std::atoi(argv[++i]);
    } else if (arg == "--slow" && hasValue) {
      options.slowMs = std::atoi(argv[++i]);
    } else if (arg == "--silent-at" && hasValue) {
      options.silentAt = argv[++i];
    } else if (arg == "--fail-transfer" && hasValue) {
      options.failFile = argv[++i];
    } else {
      Usage();
      return 2;
    }
  }
  if (options.tty.empty() || options.dir.empty() ||
      (options.loader != "redboot" && options.loader != "uboot")) {
    Usage();
    return 2;
  }
  bootsim::BootLine line(options);
  if (!line.Open()) {
    std::fprintf(stderr, "torvek-bootsim: cannot open %s\n", options.tty.c_str());
    return 1;
  }
  line.Report("ready " + options.loader);
  return options.loader == "redboot" ? bootsim::RunRedBoot(line) : bootsim::RunUBoot(line);
}
