#include "production/radio_choices.h"

namespace torvek {

std::string_view RadioChoiceDescription(int id) {
  for (const RadioChoice& choice : kRadioChoices)
    if (choice.id == id) return choice.description;
  return {};
}

}  // namespace torvek
