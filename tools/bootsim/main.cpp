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

}  // namespace

int main(int argc, char** argv) {
  bootsim::Options options;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    const bool hasValue = i + 1 < argc;
    if (arg == "--help" || arg == "-h") {
      Usage(stdout);
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
