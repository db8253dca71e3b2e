#include "admin/config_page.h"

namespace torvek {

CConfigPage::CConfigPage(QWidget* parent) : QWidget(parent) {
  setObjectName("config_page");
  setProperty("controlId", 129);
}

void CConfigPage::SetOperationStatus(const QString& text) { operationStatus_ = text; }

}  // namespace torvek
