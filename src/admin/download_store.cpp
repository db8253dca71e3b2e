#include "admin/download_store.h"

#include "admin/image_check.h"

#include <algorithm>
#include <array>

#include "admin/file_job.h"

namespace torvek {

namespace {

constexpr std::array<DownloadKind, 3> kDownloadKinds = {{
    {frame::kCmdGetConfig, "Config File(*.bin)|*.bin||", nullptr},
    {frame::kCmdGetSystemLog, "System Log Message(*.txt)|*.txt||", "sys_log.txt"},
    {frame::kCmdGetLogo, "Logo File(*.gif)|*.gif||", "Company_logo.gif"},
}};

}  // namespace

std::optional<DownloadKind> DownloadKindOf(int index) {
  if (index < 0 || index >= static_cast<int>(kDownloadKinds.size())) return std::nullopt;
  return kDownloadKinds[static_cast<std::size_t>(index)];
}

std::optional<std::string> ConfigFileName(std::optional<std::uint16_t> model) {
  if (model == kModel730) return "cfg.GENERIC.KRL5506.gw.bin";
  if (model == kModel740) return "config.bin";
  return std::nullopt;
}

DataAnswer ReadDataAnswer(const std::uint8_t* frame, std::size_t length) {
  std::array<std::uint8_t, frame::kData> head{};
  std::copy_n(frame, std::min(length, head.size()), head.begin());
  DataAnswer answer;
  answer.command = head[frame::kCommand];
  answer.result = head[frame::kResult];
  answer.statusWord = GetU32(&head[frame::kStatusWord]);
  std::copy_n(head.begin() + frame::kSourceMac, 6, answer.sourceMac.begin());
  answer.fileSize = GetU32(&head[frame::kFileSize]);
  answer.seq = static_cast<std::uint16_t>(head[frame::kSeq] | (head[frame::kSeq + 1] << 8));
  const std::size_t arrived = length > frame::kData ? length - frame::kData : 0;
  answer.dataLength =
      std::min<std::size_t>({GetU32(&head[frame::kDataLength]), arrived, frame::kBlockPayload});
  answer.data = answer.dataLength > 0 ? frame + frame::kData : nullptr;
  return answer;
}

StoreStep TakeDataAnswer(DownloadState& state, const std::uint8_t* frame, std::size_t length) {
  StoreStep step;
  if (!state.Active()) return step;
  step.active = true;
  step.answer = ReadDataAnswer(frame, length);
  step.write = state.Take(step.answer.seq);
  if (step.write) {
    step.answer.dataLength = state.Room(step.answer.dataLength);
    if (step.answer.dataLength == 0) step.answer.data = nullptr;
  }
  return step;
}

std::uint64_t DownloadLimit(std::uint8_t request) {
  constexpr std::uint64_t kBlock = frame::kBlockPayload;
  switch (request) {
    case frame::kCmdGetConfig: return kConfigDownloadSize + kBlock;
    case frame::kCmdGetLogo: return kLogoImageLimit + kBlock;
    default: return 1u << 20;
  }
}

std::uint32_t NextCellColor(std::uint32_t current, int result) {
  if (result == kResultDone) return kCellWhite;
  return current == kCellBlinkOn ? kCellBlinkOff : kCellBlinkOn;
}

std::optional<std::string> ConfigSizeRefusal(std::optional<std::uintmax_t> size) {
  if (size == kConfigDownloadSize) return std::nullopt;
  return "Error : config file size error, try again";
}

}  // namespace torvek
