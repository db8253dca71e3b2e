#include "production/mac_setup_dialog.h"

#include "ui_mac_setup_dialog.h"

namespace torvek {

CMacSetupDlg::CMacSetupDlg(MacCounter& counter, QWidget* parent)
    : QDialog(parent), counter_(counter), ui_(std::make_unique<Ui::MacSetupDialog>()) {
  ui_->setupUi(this);
  ui_->companyEdit->setText(QString::fromStdString(SetupText(counter_.companyBytes)));
  ui_->idEdit->setText(QString::fromStdString(SetupText(counter_.idBytes)));
}

CMacSetupDlg::~CMacSetupDlg() = default;

void CMacSetupDlg::accept() {
  if (const auto id = ParseSetupText(ui_->idEdit->text().toStdString())) counter_.macId = *id;
  if (const auto company = ParseSetupText(ui_->companyEdit->text().toStdString()))
    counter_.macCompanyId = *company;
  QDialog::accept();
}

}  // namespace torvek
