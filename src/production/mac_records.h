// The Mac Writer's records: the counter and its file, the address kept in
// flight while a write is out, the daily write logs, the label list, the
// scanned barcode, the status line's table and the decision on an answer.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <string_view>

namespace torvek {

using MacBytes = std::array<std::uint8_t, 6>;

inline constexpr int kBarcodeMode = 0;
inline constexpr int kManualMode = 1;

// The next address to hand out: company bytes, then id bytes.
struct MacCounter {
  std::uint32_t macId = 0;
  std::uint32_t macCompanyId = 0;
  // Follow the numbers only through RefreshMacBytes: right after an advance
  // they still hold the address just written.
  std::array<std::uint8_t, 3> idBytes{};
  std::array<std::uint8_t, 3> companyBytes{};

  void RefreshMacBytes();
  MacBytes Address() const;
};

// The counter file: two lines of lower-case hex, id first. Reading takes two
// hex numbers and stops; a number that cannot be read is 0.
struct MacData {
  std::uint32_t macId = 0;
  std::uint32_t macCompanyId = 0;
};
// Without a counter file: company 00-50-38, id 1.
inline constexpr MacData kFreshCounter{1, 0x5038};
MacData ParseMacData(std::string_view text);
std::string FormatMacData(std::uint32_t macId, std::uint32_t macCompanyId);

// One hex number as a "%x" scan reads it: blanks, a sign, "0x", digits; the
// rest of the text is left. Nothing when no digit could be read.
std::optional<std::uint32_t> ScanHex(std::string_view& text);

// The id step of a model: 4 for ORB740 and 740P, 2 for ORB730, 0 for none.
int MacStepOf(std::optional<std::uint16_t> modelCode);

// The setup dialog's six digits: hyphens taken out, then one hex number.
// Nothing when the text cannot be read, so the old value stays.
std::optional<std::uint32_t> ParseSetupText(std::string_view text);
// "%02x%02x%02x" of three bytes.
std::string SetupText(const std::array<std::uint8_t, 3>& bytes);
// "%02x-%02x-%02x" of three bytes, as the page shows them.
std::string HyphenText(const std::array<std::uint8_t, 3>& bytes);
// Twelve lower-case digits, as the manual mode logs an address.
std::string LowerMacText(const MacBytes& mac);

// A barcode in the MAC box.
enum class ScanCheck { Ok, WrongLength, NotHex };
struct ScannedMac {
  ScanCheck check = ScanCheck::WrongLength;
  MacBytes mac{};
};
ScannedMac CheckScannedMac(std::string_view text);

// The daily write log of a mode: "barcoder_Y_M_D.txt" or "keyboard_Y_M_D.txt".
std::string WriteLogName(int writeMode, const std::tm& when);
// One line of a good write: "Y_M_D_h:m:s,MAC,SERIAL,OK\n".
std::string WriteLogLine(const std::tm& when, std::string_view macText,
                         std::string_view serialText);

// The label list: `count` lines "cc:cc:cc:ii:ii:ii\n" of the company and a
// running id from `firstId` in steps of `step`; only the id's low three
// bytes are written, so the lines wrap past ff:ff:ff.
inline constexpr int kLabelLines = 100000;
std::string LabelList(std::uint32_t macCompanyId, std::uint32_t firstId, std::uint32_t step,
                      int count = kLabelLines);

// What the status line shows for a code, and how it sounds.
inline constexpr unsigned kWarningBeep = 0x30;
inline constexpr unsigned kPlainBeep = 0;
struct MacStatus {
  std::string text;
  int beeps = 0;
  unsigned beepType = kPlainBeep;
  int focusId = 0;  // the box that takes the focus afterwards, 0 for none
};
MacStatus StatusOf(int code);

inline constexpr int kStatusWaiting = 102;
inline constexpr int kStatusWritten = 103;
inline constexpr int kStatusNoScan = 300;
inline constexpr int kStatusCounterFailed = 100;
inline constexpr int kStatusLogFailed = 500;

// The write request: command 0x50 from the PC to the module named by its
// present MAC, the new address from byte 23 on, zeros behind it. The model,
// version and length are stamped when it goes out.
inline constexpr std::size_t kNewMacOffset = 23;
void FillMacWriteFrame(std::uint8_t* frame, std::size_t length, const MacBytes& pcMac,
                       const MacBytes& targetMac, const MacBytes& newMac);

// The answer to a write, in the order it is judged.
enum class MacAnswer {
  NotPending,   // no write is out: dropped
  Failed,       // the module refused: report its result
  OtherTarget,  // not an answer to this PC: the write counts as answered, nothing more
  Written,
};
MacAnswer DecideMacWriteAnswer(bool pending, std::uint8_t result, const MacBytes& targetMac,
                               const MacBytes& pcMac);

// The address of a manual write that has gone out and whose counter has not
// yet been saved past it. Kept on disk beside the counter before the frame
// leaves, so that a start after a crash steps past it instead of handing the
// same address out again.
struct MacInFlight {
  std::uint32_t macCompanyId = 0;
  std::uint32_t macId = 0;   // the address written
  std::uint32_t nextId = 0;  // where the counter goes once it is saved
};
std::string FormatInFlight(const MacInFlight& record);
// Nothing for a record that is incomplete or garbled.
std::optional<MacInFlight> ParseInFlight(std::string_view text);
// The counter's id at start, given what its file holds and a record in
// flight: past the record when it is of the same company and the file has
// not yet reached it.
std::uint32_t StepPastInFlight(const MacData& saved, const MacInFlight& record);

// The operator's instructions, line ends and all.
std::string MacWriterInstructions();

}  // namespace torvek
