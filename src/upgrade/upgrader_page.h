#pragma once

#include <QWidget>

namespace torvek {

// Page of template 140; its controls arrive with its own work.
class CUpgraderPage : public QWidget {
  Q_OBJECT
 public:
  explicit CUpgraderPage(QWidget* parent = nullptr);
  // Called each time the tab is shown, with the PC address.
  void DeriveModuleIp(const QString& pcIp) { lastPcIp_ = pcIp; }

 private:
  QString lastPcIp_;
};

}  // namespace torvek
