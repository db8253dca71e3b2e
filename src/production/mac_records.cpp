#include "production/mac_records.h"

#include <algorithm>
#include <cstdio>

#include "core/management_frame.h"

namespace torvek {

namespace {

constexpr char kHexDigits[] = "0123456789abcdef";

int HexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

bool IsBlank(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f';
}

std::array<std::uint8_t, 3> Low3(std::uint32_t value) {
  return {static_cast<std::uint8_t>(value >> 16), static_cast<std::uint8_t>(value >> 8),
          static_cast<std::uint8_t>(value)};
}

char* PutHexByte(char* out, std::uint8_t byte) {
  *out++ = kHexDigits[byte >> 4];
  *out++ = kHexDigits[byte & 0xF];
  return out;
}

std::string Format(const char* format, auto... values) {
  char text[128];
  const int n = std::snprintf(text, sizeof text, format, values...);
  return std::string(text, static_cast<std::size_t>(std::clamp(n, 0, int(sizeof text) - 1)));
}

}  // namespace

void MacCounter::RefreshMacBytes() {
  idBytes = Low3(macId);
  companyBytes = Low3(macCompanyId);
}

MacBytes MacCounter::Address() const {
  return {companyBytes[0], companyBytes[1], companyBytes[2], idBytes[0], idBytes[1], idBytes[2]};
}

std::optional<std::uint32_t> ScanHex(std::string_view& text) {
  std::size_t i = 0;
  while (i < text.size() && IsBlank(text[i])) ++i;
  bool negative = false;
  if (i < text.size() && (text[i] == '+' || text[i] == '-')) negative = text[i++] == '-';
  // "0x" is a prefix only when a digit follows; else the "0" is the number.
  if (i + 2 < text.size() && text[i] == '0' && (text[i + 1] == 'x' || text[i + 1] == 'X') &&
      HexValue(text[i + 2]) >= 0)
    i += 2;
  std::uint32_t value = 0;
  const std::size_t first = i;
  for (; i < text.size() && HexValue(text[i]) >= 0; ++i)
    value = value * 16 + static_cast<std::uint32_t>(HexValue(text[i]));
  if (i == first) return std::nullopt;
  text.remove_prefix(i);
  return negative ? 0u - value : value;
}

MacData ParseMacData(std::string_view text) {
  MacData data;
  const std::optional<std::uint32_t> id = ScanHex(text);
  if (!id) return data;
  data.macId = *id;
  data.macCompanyId = ScanHex(text).value_or(0);
  return data;
}

std::string FormatMacData(std::uint32_t macId, std::uint32_t macCompanyId) {
  return Format("%x\n%x\n", macId, macCompanyId);
}

int MacStepOf(std::optional<std::uint16_t> modelCode) {
  if (!modelCode) return 0;
  switch (*modelCode) {
    case 0x4856:
    case 0x4857: return 4;
    case 0x4855: return 2;
    default: return 0;
  }
}

std::optional<std::uint32_t> ParseSetupText(std::string_view text) {
  std::string digits;
  std::copy_if(text.begin(), text.end(), std::back_inserter(digits),
               [](char c) { return c != '-'; });
  std::string_view rest = digits;
  return ScanHex(rest);
}

std::string SetupText(const std::array<std::uint8_t, 3>& bytes) {
  return Format("%02x%02x%02x", bytes[0], bytes[1], bytes[2]);
}

std::string HyphenText(const std::array<std::uint8_t, 3>& bytes) {
  return Format("%02x-%02x-%02x", bytes[0], bytes[1], bytes[2]);
}

std::string LowerMacText(const MacBytes& mac) {
  std::string text(12, '0');
  char* out = text.data();
  for (std::uint8_t byte : mac) out = PutHexByte(out, byte);
  return text;
}

ScannedMac CheckScannedMac(std::string_view text) {
  ScannedMac scanned;
  if (text.size() != 12) return scanned;
  for (std::size_t i = 0; i < 12; ++i) {
    if (HexValue(text[i]) < 0) {
      scanned.check = ScanCheck::NotHex;
      return scanned;
    }
  }
  for (std::size_t i = 0; i < 6; ++i)
    scanned.mac[i] =
        static_cast<std::uint8_t>(HexValue(text[2 * i]) * 16 + HexValue(text[2 * i + 1]));
  scanned.check = ScanCheck::Ok;
  return scanned;
}

std::string WriteLogName(int writeMode, const std::tm& when) {
  return Format(writeMode == kBarcodeMode ? "barcoder_%d_%d_%d.txt" : "keyboard_%d_%d_%d.txt",
                when.tm_year + 1900, when.tm_mon + 1, when.tm_mday);
}

std::string WriteLogLine(const std::tm& when, std::string_view macText,
                         std::string_view serialText) {
  std::string line = Format("%d_%d_%d_%d:%d:%d", when.tm_year + 1900, when.tm_mon + 1, when.tm_mday,
                            when.tm_hour, when.tm_min, when.tm_sec);
  line += ',';
  line += macText;
  line += ',';
  line += serialText;
  line += ",OK\n";
  return line;
}

std::string LabelList(std::uint32_t macCompanyId, std::uint32_t firstId, std::uint32_t step,
                      int count) {
  constexpr std::size_t kLineLength = 18;  // "xx:xx:xx:xx:xx:xx\n"
  const std::size_t lines = static_cast<std::size_t>(std::max(count, 0));
  std::string text(lines * kLineLength, ':');
  // The company half is the same on every line.
  const std::array<std::uint8_t, 3> company = Low3(macCompanyId);
  char head[9];
  for (std::size_t b = 0; b < 3; ++b) PutHexByte(head + 3 * b, company[b]);
  std::uint32_t id = firstId;
  char* out = text.data();
  for (std::size_t n = 0; n < lines; ++n, id += step) {
    out[0] = head[0], out[1] = head[1], out[3] = head[3], out[4] = head[4];
    out[6] = head[6], out[7] = head[7];
    PutHexByte(out + 9, static_cast<std::uint8_t>(id >> 16));
    PutHexByte(out + 12, static_cast<std::uint8_t>(id >> 8));
    PutHexByte(out + 15, static_cast<std::uint8_t>(id));
    out[17] = '\n';
    out += kLineLength;
  }
  return text;
}

MacStatus StatusOf(int code) {
  switch (code) {
    case 1: return {"Invalid IP address"};
    case 2: return {"Invalid Subnet mask"};
    case 3: return {"Invalid gateway address"};
    case 4: return {"IP can not be changed because DHCP Server enable status"};
    case 5: return {"only client mode supports scan command"};
    case 6: return {"not suppported"};
    case 7: return {"not defined command"};
    case 8: return {"Paramter mismatched, check mac address"};
    case 9: return {"onlu client mode supports"};
    case 10: return {"firmware version mis-match"};
    case 11: return {"Parameter is not valid"};
    case 12: return {"Flash file system is not stable"};
    case 13: return {"File size is too big"};
    case 100:
    case 101: return {Format("Failed(%d) Error", code), 3, kWarningBeep};
    case kStatusWaiting: return {"Waiting for the result..."};
    case kStatusWritten: return {"Success Mac Writing (system is rebooting)", 1, kPlainBeep};
    case 200: return {"Waiting result...."};
    case kStatusNoScan: return {"No scanned Mac Address", 3, kWarningBeep, 1008};
    case 301: return {"No scanned Serial Number.", 3, kWarningBeep, 1009};
    case 400: return {"Open error C:\\ftprun.bat", 3, kWarningBeep};
    case kStatusLogFailed: return {"Log Writing error ", 3, kWarningBeep};
    default: return {Format("Failed(%d) : unknown error", code), 3, kWarningBeep};
  }
}

void FillMacWriteFrame(std::uint8_t* frame, std::size_t length, const MacBytes& pcMac,
                       const MacBytes& targetMac, const MacBytes& newMac) {
  if (length < kNewMacOffset + newMac.size()) return;
  std::fill_n(frame, length, std::uint8_t{0});
  frame[frame::kCommand] = frame::kCmdWriteMac;
  std::copy(pcMac.begin(), pcMac.end(), frame + frame::kSourceMac);
  std::copy(targetMac.begin(), targetMac.end(), frame + frame::kTargetMac);
  std::copy(newMac.begin(), newMac.end(), frame + kNewMacOffset);
}

MacAnswer DecideMacWriteAnswer(bool pending, std::uint8_t result, const MacBytes& targetMac,
                               const MacBytes& pcMac) {
  if (!pending) return MacAnswer::NotPending;
  if (result != 0) return MacAnswer::Failed;
  if (targetMac != pcMac) return MacAnswer::OtherTarget;
  return MacAnswer::Written;
}

std::string FormatInFlight(const MacInFlight& record) {
  return Format("%x\n%x\n%x\n", record.macCompanyId, record.macId, record.nextId);
}

std::optional<MacInFlight> ParseInFlight(std::string_view text) {
  MacInFlight record;
  std::optional<std::uint32_t> company = ScanHex(text);
  std::optional<std::uint32_t> id = company ? ScanHex(text) : std::nullopt;
  std::optional<std::uint32_t> next = id ? ScanHex(text) : std::nullopt;
  // A record cut short by a crash has no line end behind its last number.
  if (!next || text.empty() || text.front() != '\n') return std::nullopt;
  record.macCompanyId = *company;
  record.macId = *id;
  record.nextId = *next;
  return record;
}

std::uint32_t StepPastInFlight(const MacData& saved, const MacInFlight& record) {
  if (saved.macCompanyId != record.macCompanyId) return saved.macId;
  return saved.macId < record.nextId ? record.nextId : saved.macId;
}

std::string MacWriterInstructions() {
  const std::string rule(85, '-');
  std::string text;
  for (const char* line : {
           " 1. Select system at the left list box",
           " 2. Press ping button ( there is ping button at the bottom)",
           " 3. Press web button ( there is web button at the bottom)",
           " 4. Select Mac Writing Mode(Barcode Reader or Manual mode)",
           " 5. Setup Mac Address with  Mac Setup Button",
           " 6. Check Mac Address at the web page",
           " 6. Press Start button",
           " 7. Press Mac Write Button",
           " 8. Check mac writing status at  Status box",
           " 9. Check ping window(After mac writing, system is automatic reboot",
           "10. Wait until ping window is OK",
           "11. Refresh web and check WLAN MAC mac address is well written",
       })
    text += std::string(line) + "\r\n";
  text += rule + "\r\n";
  text += " Mac setup :  incase 11n module, mac address shoule be 4's multiple   \r\n";
  text += "                  like  000000, 000004, 000008, 00000b 00000f     \r\n";
  text += rule + "\r\n";
  return text;
}

}  // namespace torvek
