// Arbitrary chunks through both flash scripts: the step only grows, stays in
// its range, every command fits the send buffer, and a run ends at most once.
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <string_view>

#include "upgrade/flash_scripts.h"

using namespace torvek;

namespace {

void Check(FlashRun& run, std::string_view chunk, bool redBoot, std::uint32_t lastStep, int& ends) {
  const std::uint32_t before = run.upgradeStep;
  const ScriptActions actions = redBoot ? RunRedBootScript(run, chunk) : RunUBootScript(run, chunk);
  if (run.upgradeStep < before || run.upgradeStep > lastStep) std::abort();
  int sends = 0;
  int passEnds = 0;
  for (const ScriptAction& a : actions) {
    if (a.kind == ScriptAction::Kind::Send) {
      ++sends;
      if (a.text.empty() || a.text.size() >= 1024) std::abort();
    }
    if (a.kind == ScriptAction::Kind::End) ++passEnds;
  }
  ends += passEnds;
  if (sends > 1 || passEnds > 1 || ends > 1) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 1) return 0;
  FlashRun red;
  FlashRun uboot;
  red.moduleIp = uboot.moduleIp = "10.0.0.3";
  red.hostIp = uboot.hostIp = "10.0.0.2";
  for (int i = 0; i < kImageCount; ++i) {
    red.ticked[static_cast<std::size_t>(i)] = (data[0] >> i) & 1;
    uboot.ticked[static_cast<std::size_t>(i)] = (data[0] >> (i + 3)) & 1;
  }
  int redEnds = 0;
  int ubootEnds = 0;
  // Each piece is either one of the texts the scripts wait for, so that runs
  // reach the late steps, or raw bytes cut as the reader cuts them (at most
  // 1024 characters, up to a terminator).
  static constexpr std::string_view kTexts[] = {"RedBoot>",
                                                "Default server: 1.2.3.4\r",
                                                "Raw file loaded 0x80100000\r",
                                                "continue (y/n)?",
                                                "Enter\r",
                                                "RT30xx #",
                                                "NetBootFileXferSize=2e5c4\r",
                                                "done\r",
                                                "NetBootFileXferSize\r"};
  std::string_view rest(reinterpret_cast<const char*>(data + 1), size - 1);
  while (!rest.empty()) {
    const auto head = static_cast<unsigned char>(rest.front());
    rest.remove_prefix(1);
    std::string_view chunk;
    if (head < 0x80) {
      chunk = kTexts[head % std::size(kTexts)];
    } else {
      std::size_t cut = rest.find_first_of("\r\n>?.#");
      cut = cut == std::string_view::npos ? rest.size() : cut + 1;
      if (cut > 1024) cut = 1024;
      chunk = rest.substr(0, cut);
      rest.remove_prefix(cut);
    }
    // A run is over after its end; the reader then feeds the console.
    if (!redEnds) Check(red, chunk, true, 16, redEnds);
    if (!ubootEnds) Check(uboot, chunk, false, 14, ubootEnds);
  }
  return 0;
}
