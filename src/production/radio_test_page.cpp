#include "production/radio_test_page.h"

namespace torvek {

CRadioTestPage::CRadioTestPage(QWidget* parent) : QWidget(parent) {
  setObjectName("radio_test_page");
  setProperty("controlId", 143);
}

}  // namespace torvek
