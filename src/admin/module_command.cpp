#include "admin/module_command.h"

#include <algorithm>

namespace torvek {

namespace {

constexpr std::size_t kParameter = frame::kHeaderLength;
constexpr std::uint16_t kTypeModels[] = {kModel730, kModel740, kModel740P};

}  // namespace

void FillModuleCommand(std::uint8_t* frame, std::uint8_t command, int version, bool all,
                       const MacAddress& sourceMac, const MacAddress& targetMac,
                       std::int32_t parameter) {
  std::fill_n(frame, frame::kRequestLength, std::uint8_t{0});
  frame[frame::kCommand] = command;
  frame[frame::kVersion] = static_cast<std::uint8_t>(version);
  if (all)
    std::fill_n(frame + frame::kTargetMac, 6, std::uint8_t{0xFF});
  else
    std::copy(targetMac.begin(), targetMac.end(), frame + frame::kTargetMac);
  std::copy(sourceMac.begin(), sourceMac.end(), frame + frame::kSourceMac);
  if (parameter != kNoParameter) PutU32(frame + kParameter, static_cast<std::uint32_t>(parameter));
}

std::optional<std::uint16_t> ModelOfTypeIndex(int index) {
  if (index < 0 || index >= static_cast<int>(std::size(kTypeModels))) return std::nullopt;
  return kTypeModels[index];
}

int TypeIndexOfModel(std::optional<std::uint16_t> model) {
  for (int i = 0; i < static_cast<int>(std::size(kTypeModels)); ++i)
    if (model == kTypeModels[i]) return i;
  return -1;
}

}  // namespace torvek
