#pragma once

#include <QWidget>

namespace torvek {

// Page of template 134; its controls arrive with its own work.
class CConsolePage : public QWidget {
  Q_OBJECT
 public:
  explicit CConsolePage(QWidget* parent = nullptr);

};

}  // namespace torvek
