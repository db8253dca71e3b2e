#include "upgrade/upgrader_page.h"

namespace torvek {

CUpgraderPage::CUpgraderPage(QWidget* parent) : QWidget(parent) {
  setObjectName("upgrader_page");
  setProperty("controlId", 140);
}

}  // namespace torvek
