#pragma once

#include <QWidget>

namespace torvek {

// Page of template 143; its controls arrive with its own work.
class CRadioTestPage : public QWidget {
  Q_OBJECT
 public:
  explicit CRadioTestPage(QWidget* parent = nullptr);
};

}  // namespace torvek
