#include "production/jig_page.h"

namespace torvek {

CJigPage::CJigPage(QWidget* parent) : QWidget(parent) {
  setObjectName("jig_page");
  setProperty("controlId", 138);
}

}  // namespace torvek
