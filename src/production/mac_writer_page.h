#pragma once

#include <QWidget>

namespace torvek {

// Page of template 141; its controls arrive with its own work.
class CMacWriterPage : public QWidget {
  Q_OBJECT
 public:
  explicit CMacWriterPage(QWidget* parent = nullptr);
};

}  // namespace torvek
