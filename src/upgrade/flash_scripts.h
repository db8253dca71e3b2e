// The two boot loader dialogues as state machines over received chunks. A
// pass takes one chunk and gives back what to do, in order; the page carries
// it out. Neither script ever touches a port or a widget.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace torvek {

// Controls of the Upgrader page that the scripts write to.
inline constexpr int kRowBootLoader = 1069;
inline constexpr int kRowFileSystem = 1070;
inline constexpr int kRowKernel = 1071;
inline constexpr int kRowWebPage = 1076;
inline constexpr int kRowConfigFile = 1078;
inline constexpr int kStatusLabel = 1082;

inline constexpr std::array<int, 5> kImageRows = {kRowBootLoader, kRowFileSystem, kRowKernel,
                                                  kRowWebPage, kRowConfigFile};

// Row texts of a run.
inline constexpr std::string_view kTextDownloading = "Downing Image file via TFTP";
inline constexpr std::string_view kTextDownloaded = "Image file is well downloaded via TFTP";
inline constexpr std::string_view kTextErasing = "Erasing flash memory....";
inline constexpr std::string_view kTextWriting = "Writing image file to Flash...";
inline constexpr std::string_view kTextWritten = "Flash writing is well done.";
inline constexpr std::string_view kTextInProcess = "In Process";
inline constexpr std::string_view kTextRebooting = "System is now rebooting !!!";

struct ScriptAction {
  enum class Kind {
    Send,       // text to the line, byte for byte
    SetLabel,   // control `id` := text
    StopTimer,  // the break-in timer
    Sleep,      // hold everything that follows for `ms`
    Beep,
    End,  // EndUpgrade
  };
  ScriptAction(Kind kind, std::string text = {}, int id = 0, int ms = 0)
      : kind(kind), text(std::move(text)), id(id), ms(ms) {}
  Kind kind;
  std::string text;
  int id = 0;
  int ms = 0;

  bool operator==(const ScriptAction&) const = default;
};
using ScriptActions = std::vector<ScriptAction>;

// The images in the order of a run: Boot Loader, File System, Linux Kernel
// (Kernel+App), Web Page, Config File.
enum FlashImage { kBootLoader, kFileSystem, kKernel, kWebPage, kConfigFile, kImageCount };

// What a run knows: its inputs, fixed at start, and the script's state.
struct FlashRun {
  std::string moduleIp;
  std::string hostIp;
  std::array<int, kImageCount> ticked{};
  std::uint32_t upgradeStep = 0;
  std::int32_t lastFlashStep = 0;
  std::string pendingFlashCommand;
};

// One pass over one chunk, terminator included.
ScriptActions RunRedBootScript(FlashRun& run, std::string_view chunk);
ScriptActions RunUBootScript(FlashRun& run, std::string_view chunk);

// The byte that timer 1002 sends at step 0: Ctrl-C for RedBoot (target 0),
// '4' for U-Boot (target 1).
char BreakInByte(int targetModule);

// The module address that follows from the PC's address, or nothing when
// that does not read as four numbers.
std::optional<std::string> ModuleIpOf(std::string_view pcIp);

// U-Boot's size report with every CR and LF taken out and the variable's
// name and the character behind it cut off, as printed otherwise.
std::string UBootSizeText(std::string_view chunk);

}  // namespace torvek
