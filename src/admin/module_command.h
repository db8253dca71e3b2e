// Short commands to a module (reboot, factory default, company ID) and the
// choices of the Change system data dialog that decide a job's model.
#pragma once

#include <cstdint>
#include <optional>

#include "core/management_frame.h"

namespace torvek {

inline constexpr std::int32_t kNoParameter = -1;

// The refusal of a job for the selected module when no row is selected.
inline constexpr const char* kModuleNotSelectedText =
    "Module is not selected at the list, Please select module first!!!";

// Clears frame (a request's length) and fills command, version, the two MACs
// and, unless it is kNoParameter, the 32-bit parameter behind the header.
// all addresses every module (FF six times) instead of targetMac.
void FillModuleCommand(std::uint8_t* frame, std::uint8_t command, int version, bool all,
                       const MacAddress& sourceMac, const MacAddress& targetMac,
                       std::int32_t parameter);

// The model code of a Module Type row: 0 ORB730, 1 ORB740, 2 740P. Nothing for
// no row at all, so that a job never goes out for a model nobody chose.
std::optional<std::uint16_t> ModelOfTypeIndex(int index);
// The Module Type row of a model code, -1 for none.
int TypeIndexOfModel(std::optional<std::uint16_t> model);

}  // namespace torvek
