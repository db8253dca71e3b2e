#include "admin/file_job.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>

#include "admin/module_command.h"

namespace torvek {

namespace {

constexpr std::array<UploadKind, 3> kUploadKinds = {{
    {frame::kCmdUploadFirmware, "Firmware(*.bin)|*.bin||", "module_firmware.bin"},
    {frame::kCmdUploadConfig, "Config File(*.bin)|*.bin||", "module_config.bin"},
    {frame::kCmdUploadLogo, "Logo File(*.gif)|*.gif||", "Company_logo.gif"},
}};

const char* AreaText(unsigned area) {
  switch (area) {
    case 0: return "kernel";
    case 1: return "web";
    case 2: return "file system";
    default: return "not defined area";
  }
}

const char* StepText(unsigned step) {
  switch (step) {
    case 1: return "Flash erase...";
    case 2: return "Flash erase end";
    case 3: return "Flash write...";
    case 4: return "Flash write end";
    default: return "not defined area";
  }
}

}  // namespace

std::optional<UploadKind> UploadKindOf(int operation) {
  if (operation < 0 || operation >= static_cast<int>(kUploadKinds.size())) return std::nullopt;
  return kUploadKinds[static_cast<std::size_t>(operation)];
}

std::uint64_t BlockCount(std::uint64_t fileSize) {
  return (fileSize + frame::kBlockPayload - 1) / frame::kBlockPayload;
}

FrameBuffer MakeJobFrame(std::uint8_t command, std::uint16_t model, const MacAddress& pcMac,
                         const MacAddress& moduleMac, bool all, std::uint32_t fileSize) {
  FrameBuffer frame{};
  FillModuleCommand(frame.data(), command, kFileBlockVersion, all, pcMac, moduleMac, kNoParameter);
  // Version 3 puts the model low byte first, as the module reads it.
  PutWord(frame.data() + frame::kModelCode, model, kFileBlockVersion);
  PutU32(frame.data() + frame::kFileSize, fileSize);
  return frame;
}

std::size_t PutJobBlock(FrameBuffer& frame, std::uint32_t index,
                        std::span<const std::uint8_t> content) {
  const std::uint64_t from = std::uint64_t{index} * frame::kBlockPayload;
  const std::size_t n = from >= content.size() ? 0
                                               : static_cast<std::size_t>(std::min<std::uint64_t>(
                                                     frame::kBlockPayload, content.size() - from));
  PutU32(frame.data() + frame::kStatusWord, index);
  frame[frame::kSeq] = static_cast<std::uint8_t>(index & 0xFF);
  frame[frame::kSeq + 1] = static_cast<std::uint8_t>((index >> 8) & 0xFF);
  PutU32(frame.data() + frame::kDataLength, static_cast<std::uint32_t>(n));
  std::copy_n(content.begin() + static_cast<std::ptrdiff_t>(from), n, frame.begin() + frame::kData);
  return n;
}

JobFile ReadJobFile(const std::string& path) {
  JobFile file;
  if (std::FILE* f = std::fopen(path.c_str(), "r+b")) {
    file.opened = true;
    std::array<std::uint8_t, 65536> chunk;
    std::size_t n = 0;
    while ((n = std::fread(chunk.data(), 1, chunk.size(), f)) > 0)
      file.content.insert(file.content.end(), chunk.begin(), chunk.begin() + n);
    std::fclose(f);
    file.size = file.content.size();
    return file;
  }
  std::error_code error;
  const std::uintmax_t size = std::filesystem::file_size(path, error);
  file.size = error ? 0 : size;
  return file;
}

std::string ModuleStatusText(int result, std::uint32_t status, std::uint16_t seq) {
  char text[128];
  if (result == 24) return "Job is well done...";
  if (result == 14) {
    std::snprintf(text, sizeof text, "%s : %s sector=%u", StepText((status >> 16) & 0xFF),
                  AreaText(status >> 24), static_cast<unsigned>(status & 0xFFFF));
  } else if (result >= 20 && result <= 23) {
    std::snprintf(text, sizeof text, "Set function fail(%x)", static_cast<unsigned>(result));
  } else if (result == 16) {
    std::snprintf(text, sizeof text, "Error code %d seq#=%d", result, seq);
  } else {
    std::snprintf(text, sizeof text, "working seq#=%d", seq);
  }
  return text;
}

}  // namespace torvek
