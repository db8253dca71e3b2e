// Texts of the logic and bytes off the wire, shown one byte a character.
#pragma once

#include <QString>
#include <string_view>

namespace torvek {

inline QString Latin1Text(std::string_view text) {
  return QString::fromLatin1(text.data(), static_cast<qsizetype>(text.size()));
}

}  // namespace torvek
