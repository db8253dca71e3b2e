#pragma once

#include <QWidget>

namespace torvek {

// Page of template 129; its controls arrive with its own work.
class CConfigPage : public QWidget {
  Q_OBJECT
 public:
  explicit CConfigPage(QWidget* parent = nullptr);
  // Writes the Operation Status line.
  void SetOperationStatus(const QString& text);
  const QString& OperationStatus() const { return operationStatus_; }

 private:
  QString operationStatus_;
};

}  // namespace torvek
