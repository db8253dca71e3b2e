#include "terminals/console_page.h"

namespace torvek {

CConsolePage::CConsolePage(QWidget* parent) : QWidget(parent) {
  setObjectName("console_page");
  setProperty("controlId", 134);
}

}  // namespace torvek
