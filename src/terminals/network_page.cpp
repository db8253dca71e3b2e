#include "terminals/network_page.h"

namespace torvek {

CNetworkPage::CNetworkPage(QWidget* parent) : QWidget(parent) {
  setObjectName("network_page");
  setProperty("controlId", 133);
}

}  // namespace torvek
