// The radio test programs the operator can choose between: two over the
// network, one over the serial line.
#pragma once

#include <array>
#include <string_view>

namespace torvek {

struct RadioChoice {
  int id;
  std::string_view description;
};
inline constexpr std::array<RadioChoice, 3> kRadioChoices = {{
    {1075, "atheros radio test via network communication"},
    {1078, "atheros radio test via serial communication"},
    {1077, "Ralink radio test via network communication"},
}};
inline constexpr int kFirstRadioChoice = 1075;

// Empty for an id that is no choice.
std::string_view RadioChoiceDescription(int id);

}  // namespace torvek
