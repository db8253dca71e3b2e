#include "platform/template_font.h"

#include <QFontDatabase>
#include <QFontMetrics>
#include <QStringList>

namespace torvek {

namespace {

constexpr int kTemplateBase = 6;
constexpr int kLargestPixels = 11;
constexpr int kSmallestPixels = 8;

}  // namespace

int DialogBaseWidth(const QFont& font) {
  const QFontMetrics metrics(font);
  const int letters =
      metrics.horizontalAdvance("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ");
  return (letters / 26 + 1) / 2;
}

QFont TemplateFont(const QFont& systemFont) {
  // Families whose widths are those the templates were drawn for.
  const QStringList preferred = {"Liberation Sans", "Arimo", "Nimbus Sans",
                                 "DejaVu Sans Condensed"};
  QFont font = systemFont;
  const QStringList installed = QFontDatabase::families();
  for (const QString& family : preferred)
    if (installed.contains(family)) {
      font.setFamily(family);
      break;
    }
  for (int pixels = kLargestPixels; pixels >= kSmallestPixels; --pixels) {
    font.setPixelSize(pixels);
    if (DialogBaseWidth(font) <= kTemplateBase) break;
  }
  return font;
}

}  // namespace torvek
