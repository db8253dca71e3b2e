// The model of a type text of the list, for the operations of the UI thread.
#pragma once

#include <QString>
#include <cstdint>
#include <optional>

namespace torvek {

class Prompter;

// Nothing when the text names no model; the operator is then told so with
// the type text in a box. Never on another thread: the file sender's row
// filter uses the silent ModelCodeOf.
std::optional<std::uint16_t> ModelCodeOrTell(const QString& typeText, Prompter& prompter);

}  // namespace torvek
