#pragma once

#include <QWidget>

namespace torvek {

// Page of template 138; its controls arrive with its own work.
class CJigPage : public QWidget {
  Q_OBJECT
 public:
  explicit CJigPage(QWidget* parent = nullptr);
  // True while the jig tab is the one shown.
  void SetArpFlush(bool on) { arpFlushEnabled = on; }
  bool arpFlushEnabled = false;
};

}  // namespace torvek
