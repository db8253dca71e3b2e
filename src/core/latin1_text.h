// Texts of the logic and bytes off the wire, shown one byte a character, and
// bytes handed to the logic as they are.
#pragma once

#include <QByteArray>
#include <QString>
#include <string_view>

namespace torvek {

inline QString Latin1Text(std::string_view text) {
  return QString::fromLatin1(text.data(), static_cast<qsizetype>(text.size()));
}

// Valid as long as `bytes` is alive and unchanged.
inline std::string_view ByteView(const QByteArray& bytes) {
  return {bytes.constData(), static_cast<std::size_t>(bytes.size())};
}

}  // namespace torvek
