#include "upgrade/flash_scripts.h"

#include <cstdio>
#include <utility>

namespace torvek {

namespace {

bool Has(std::string_view chunk, std::string_view text) {
  return chunk.find(text) != std::string_view::npos;
}

ScriptAction Send(std::string text) { return {ScriptAction::Kind::Send, std::move(text)}; }
ScriptAction Label(int id, std::string_view text) {
  return {ScriptAction::Kind::SetLabel, std::string(text), id};
}

// Two beeps 50 ms apart, the reset, then the run is over.
void EndSequence(ScriptActions& out) {
  for (int i = 0; i < 2; ++i) {
    out.push_back({ScriptAction::Kind::Beep});
    out.push_back({ScriptAction::Kind::Sleep, {}, 0, 50});
  }
  out.push_back(Send("reset\n\r"));
  out.push_back({ScriptAction::Kind::End});
  out.push_back(Label(kStatusLabel, kTextRebooting));
}

// RedBoot's images, in the order of a run. Every image goes through the same
// buffer at 0x80100000.
struct RedBootImage {
  std::string_view load;
  std::string_view flash;
};
constexpr std::array<RedBootImage, kImageCount> kRedBootImages = {{
    {"load -r -b 0x80100000 ap61.rom\n\r", "fis create -l 0x30000 -e 0xbfc00000 RedBoot\n\r"},
    {"load -r -b 0x80100000 sqfs.ap61.bin\n\r", "fis create -f 0xbfc30000 -e 0 rootfs\n\r"},
    {"load -r -b 0x80100000 vmlinux.ap61.bin.l7\n\r",
     "fis create -l 0x90000 -f 0xbff40000 -e 0x801f8040 -r 0x80041000 vmlinux.bin.l7\n\r"},
    {"load -r -b 0x80100000 wbp.GENERIC.KRL5506.gw.bin\n\r",
     "fis create -f 0xbff30000 -e 0 web\n\r"},
    {"load -r -b 0x80100000 cfg.GENERIC.KRL5506.gw.bin\n\r",
     "fis create -f 0xbffd0000 -e 0 cfg\n\r"},
}};

// From image k on, the steps are 3k+2 (loaded), 3k+3 (the overwrite
// question) and 3k+4 (the prompt after the write). The boot loader's own load
// goes out at step 1, on the answer to the addresses.
constexpr std::uint32_t LoadedStep(int k) { return static_cast<std::uint32_t>(3 * k + 2); }
constexpr std::uint32_t PromptStep(int k) { return static_cast<std::uint32_t>(3 * k + 4); }
constexpr std::uint32_t kRedBootLastStep = PromptStep(kConfigFile);

}  // namespace

ScriptActions RunRedBootScript(FlashRun& run, std::string_view chunk) {
  ScriptActions out;
  if (run.upgradeStep == 0) {
    out.push_back(Label(kStatusLabel, kTextInProcess));
    if (!Has(chunk, "RedBoot")) return out;
    out.push_back({ScriptAction::Kind::StopTimer});
    out.push_back(Send("ip_address -l " + run.moduleIp + " -h " + run.hostIp + "\n\r"));
    out.push_back({ScriptAction::Kind::Sleep, {}, 0, 600});
    run.upgradeStep = run.ticked[kBootLoader] ? 1 : PromptStep(kBootLoader);
    return out;
  }
  if (run.upgradeStep == 1) {
    out.push_back(Label(kRowBootLoader, kTextDownloading));
    if (!Has(chunk, "Default server")) return out;
    out.push_back(Send(std::string(kRedBootImages[kBootLoader].load)));
    run.upgradeStep = LoadedStep(kBootLoader);
    return out;
  }
  // A prompt walks past unticked images in this one pass.
  while (run.upgradeStep <= kRedBootLastStep) {
    const std::uint32_t step = run.upgradeStep;
    const int k = static_cast<int>((step - 2) / 3);
    const int row = kImageRows[static_cast<std::size_t>(k)];
    switch ((step - 2) % 3) {
      case 0:  // loaded
        if (!Has(chunk, "Raw file loaded")) return out;
        out.push_back(Label(row, kTextDownloaded));
        out.push_back(Send(std::string(kRedBootImages[static_cast<std::size_t>(k)].flash)));
        run.upgradeStep = step + 1;
        return out;
      case 1:  // "continue?"
        if (!Has(chunk, "continue")) return out;
        out.push_back(Label(row, kTextWriting));
        out.push_back(Send("y\r"));
        run.lastFlashStep = static_cast<std::int32_t>(step);
        run.upgradeStep = step + 1;
        return out;
      default: {  // the prompt after a write, or after the addresses
        if (!Has(chunk, "RedBoot")) return out;
        // Only a row whose write was confirmed in this run says it is written.
        if (run.lastFlashStep == static_cast<std::int32_t>(step) - 1)
          out.push_back(Label(row, kTextWritten));
        if (step == kRedBootLastStep) {
          EndSequence(out);
          return out;
        }
        const int next = k + 1;
        if (run.ticked[static_cast<std::size_t>(next)]) {
          run.upgradeStep = LoadedStep(next);
          // The config row keeps "Ready" until its file has come.
          if (next != kConfigFile)
            out.push_back(Label(kImageRows[static_cast<std::size_t>(next)], kTextDownloading));
          out.push_back(Send(std::string(kRedBootImages[static_cast<std::size_t>(next)].load)));
          return out;
        }
        run.upgradeStep = PromptStep(next);
        break;
      }
    }
  }
  return out;
}

namespace {

struct UBootImage {
  FlashImage image;
  int row;
  std::string_view file;
  std::string_view erase;
  std::string_view flashAddress;
};
// In the order of a run; the flash addresses go another way.
constexpr std::array<UBootImage, 3> kUBootImages = {{
    {kBootLoader, kRowBootLoader, "loader.bin", "protect off 1:0-2;erase 1:0-2\n", "bf000000"},
    {kKernel, kRowKernel, "kernel.bin", "erase 1:5-63\n", "bf050000"},
    {kConfigFile, kRowConfigFile, "config.bin", "protect off 1:3;erase 1:3\n", "bf030000"},
}};

std::string FlashCommand(const UBootImage& image, std::string_view chunk) {
  return "cp.b 80100000 " + std::string(image.flashAddress) + " " + UBootSizeText(chunk) + " \n";
}

std::string FetchCommand(const UBootImage& image) {
  return "tftp 80100000 " + std::string(image.file) + "\n";
}

}  // namespace

std::string UBootSizeText(std::string_view chunk) {
  std::string size;
  for (char c : chunk)
    if (c != '\r' && c != '\n') size.push_back(c);
  // The variable's name and the character behind it.
  size.erase(0, 20);
  return size;
}

ScriptActions RunUBootScript(FlashRun& run, std::string_view chunk) {
  ScriptActions out;
  const UBootImage& loader = kUBootImages[0];
  for (;;) {
    switch (run.upgradeStep) {
      case 0:
        if (!Has(chunk, "Enter")) return out;
        out.push_back({ScriptAction::Kind::StopTimer});
        run.upgradeStep = 1;
        return out;
      case 1:
        if (!Has(chunk, "RT30")) return out;
        out.push_back(
            Send("setenv ipaddr " + run.moduleIp + ";setenv serverip " + run.hostIp + "\n"));
        run.upgradeStep = run.ticked[kBootLoader] ? 2 : 6;
        return out;
      // The boot loader's rows differ from the others': its fetch waits for a
      // prompt of its own, and its row says more.
      case 2:
        out.push_back(Label(loader.row, kTextDownloading));
        if (!Has(chunk, "RT30")) return out;
        out.push_back(Send(FetchCommand(loader)));
        run.upgradeStep = 3;
        return out;
      case 3:
        if (!Has(chunk, "NetBootFileXferSize")) return out;
        out.push_back(Label(loader.row, kTextDownloaded));
        run.pendingFlashCommand = FlashCommand(loader, chunk);
        out.push_back(Send(std::string(loader.erase)));
        out.push_back(Label(loader.row, kTextErasing));
        run.upgradeStep = 4;
        return out;
      case 4:
        if (!Has(chunk, "done")) return out;
        out.push_back(Label(loader.row, kTextDownloaded));
        out.push_back(Send(run.pendingFlashCommand));
        run.upgradeStep = 5;
        return out;
      case 5:
        out.push_back(Label(loader.row, kTextWriting));
        if (!Has(chunk, "done")) return out;
        out.push_back(Label(loader.row, kTextWritten));
        run.upgradeStep = 6;
        return out;
      case 6:
      case 10: {
        if (!Has(chunk, "RT30")) return out;
        const UBootImage& image = kUBootImages[run.upgradeStep == 6 ? 1 : 2];
        if (!run.ticked[image.image]) {
          run.upgradeStep += 4;  // the same chunk at the next prompt step
          break;
        }
        run.upgradeStep += 1;
        out.push_back(Send(FetchCommand(image)));
        out.push_back(Label(image.row, kTextDownloading));
        return out;
      }
      case 7:
      case 11: {
        if (!Has(chunk, "NetBootFileXferSize")) return out;
        const UBootImage& image = kUBootImages[run.upgradeStep == 7 ? 1 : 2];
        out.push_back(Send(std::string(image.erase)));
        run.pendingFlashCommand = FlashCommand(image, chunk);
        out.push_back(Label(image.row, kTextErasing));
        run.upgradeStep += 1;
        return out;
      }
      case 8:
      case 12: {
        if (!Has(chunk, "done")) return out;
        const UBootImage& image = kUBootImages[run.upgradeStep == 8 ? 1 : 2];
        out.push_back(Send(run.pendingFlashCommand));
        out.push_back(Label(image.row, kTextWriting));
        run.upgradeStep += 1;
        return out;
      }
      case 9:
      case 13: {
        if (!Has(chunk, "done")) return out;
        const UBootImage& image = kUBootImages[run.upgradeStep == 9 ? 1 : 2];
        out.push_back(Label(image.row, kTextWritten));
        run.upgradeStep += 1;
        return out;
      }
      case 14:
        if (Has(chunk, "RT30")) EndSequence(out);
        return out;
      default: return out;
    }
  }
}

char BreakInByte(int targetModule) { return targetModule == 0 ? '\x03' : '4'; }

std::optional<std::string> ModuleIpOf(std::string_view pcIp) {
  std::string spaced(pcIp);
  for (char& c : spaced)
    if (c == '.') c = ' ';
  int a = 0, b = 0, c = 0, d = 0;
  if (std::sscanf(spaced.c_str(), "%d %d %d %d", &a, &b, &c, &d) != 4) return std::nullopt;
  // .0 takes .1, .254 and .255 step down, the rest step up.
  const long long e = d == 0 ? 1 : (d >= 1 && d <= 253 ? d + 1LL : d - 1LL);
  char text[64];
  std::snprintf(text, sizeof text, "%d.%d.%d.%lld", a, b, c, e);
  return std::string(text);
}

}  // namespace torvek
