#pragma once

#include <QWidget>

namespace torvek {

// Page of template 133; its controls arrive with its own work.
class CNetworkPage : public QWidget {
  Q_OBJECT
 public:
  explicit CNetworkPage(QWidget* parent = nullptr);
  // The selection in the module list moved to another module.
  void OnTargetModuleChanged() {}
};

}  // namespace torvek
