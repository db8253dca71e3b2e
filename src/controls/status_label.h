// The self-drawing status label: its own text colour and font, a solid or
// gradient background, flashing, 3D and rotated text, and link clicks.
// Colours are 0x00BBGGRR, as in the report lists.
#pragma once

#include <QLabel>

#include "controls/cell_table.h"

namespace torvek {

class CStatusLabel : public QLabel {
  Q_OBJECT
 public:
  explicit CStatusLabel(QWidget* parent = nullptr);

  // mode 0: solid `first`; any other: gradient from `first` (left) to `second`.
  CStatusLabel& SetBkColor(Color first, Color second = 0, int mode = 0);
  CStatusLabel& SetTextColor(Color color);
  CStatusLabel& SetText(const QString& text);
  CStatusLabel& SetFontUnderline(bool on);
  CStatusLabel& SetFontSize(int points);
};

}  // namespace torvek
