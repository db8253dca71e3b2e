#include "controls/status_label.h"

namespace torvek {

CStatusLabel::CStatusLabel(QWidget* parent) : QLabel(parent) {}

CStatusLabel& CStatusLabel::SetBkColor(Color first, Color /*second*/, int /*mode*/) {
  setStyleSheet(QString("background-color: #%1%2%3")
                    .arg(first & 0xFF, 2, 16, QChar('0'))
                    .arg((first >> 8) & 0xFF, 2, 16, QChar('0'))
                    .arg((first >> 16) & 0xFF, 2, 16, QChar('0')));
  return *this;
}

CStatusLabel& CStatusLabel::SetTextColor(Color color) {
  QPalette p = palette();
  p.setColor(QPalette::WindowText, QColor(color & 0xFF, (color >> 8) & 0xFF, (color >> 16) & 0xFF));
  setPalette(p);
  return *this;
}

CStatusLabel& CStatusLabel::SetText(const QString& text) {
  setText(text);
  return *this;
}

CStatusLabel& CStatusLabel::SetFontUnderline(bool on) {
  QFont f = font();
  f.setUnderline(on);
  setFont(f);
  return *this;
}

CStatusLabel& CStatusLabel::SetFontSize(int points) {
  QFont f = font();
  f.setPointSize(points);
  setFont(f);
  return *this;
}

}  // namespace torvek
