#include "production/mac_writer_page.h"

namespace torvek {

CMacWriterPage::CMacWriterPage(QWidget* parent) : QWidget(parent) {
  setObjectName("mac_writer_page");
  setProperty("controlId", 141);
}

}  // namespace torvek
