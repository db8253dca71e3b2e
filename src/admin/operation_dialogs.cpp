#include "admin/operation_dialogs.h"

#include "admin/model_code.h"
#include "admin/module_command.h"
#include "core/module_directory.h"
#include "platform/prompter.h"
#include "ui_company_id_dialog.h"
#include "ui_get_operation_dialog.h"
#include "ui_how_many_dialog.h"
#include "ui_system_data_dialog.h"

namespace torvek {

namespace {

constexpr int kSelectedModule = 0;
constexpr int kAllModules = 1;

}  // namespace

CHowManyDlg::CHowManyDlg(QWidget* parent)
    : QDialog(parent), ui_(std::make_unique<Ui::HowManyDialog>()) {
  ui_->setupUi(this);
  ui_->howManyModules->setCurrentIndex(0);
}

CHowManyDlg::~CHowManyDlg() = default;

void CHowManyDlg::accept() {
  choice = ui_->howManyModules->currentIndex();
  QDialog::accept();
}

CCompanyIdDlg::CCompanyIdDlg(QWidget* parent)
    : QDialog(parent), ui_(std::make_unique<Ui::CompanyIdDialog>()) {
  ui_->setupUi(this);
  ui_->companyId->setCurrentIndex(0);
}

CCompanyIdDlg::~CCompanyIdDlg() = default;

void CCompanyIdDlg::accept() {
  choice = ui_->companyId->currentIndex();
  QDialog::accept();
}

CGetOperationDlg::CGetOperationDlg(QWidget* parent)
    : QDialog(parent), ui_(std::make_unique<Ui::GetOperationDialog>()) {
  ui_->setupUi(this);
  ui_->operationType->setCurrentIndex(0);
}

CGetOperationDlg::~CGetOperationDlg() = default;

void CGetOperationDlg::accept() {
  choice = ui_->operationType->currentIndex();
  QDialog::accept();
}

CSystemDataDlg::CSystemDataDlg(Prompter& prompter, const ModuleDirectory& selection,
                               QWidget* parent)
    : QDialog(parent), prompter_(prompter), selection_(selection),
      ui_(std::make_unique<Ui::SystemDataDialog>()) {
  ui_->setupUi(this);
  ui_->operationType->setCurrentIndex(kFirmware);
  ui_->communicationProtocol->setCurrentIndex(0);
  if (selection_.selectedRow == -1) {
    ui_->howManyModules->setCurrentIndex(kAllModules);
    ui_->moduleType->setCurrentIndex(0);
  } else {
    ui_->howManyModules->setCurrentIndex(kSelectedModule);
    // A 740P row has no row of its own here: the combo stays empty until the
    // operator picks a type.
    const int type = TypeIndexOfModel(ModelCodeOrTell(selection_.selectedModuleType, prompter_));
    ui_->moduleType->setCurrentIndex(type < ui_->moduleType->count() ? type : -1);
  }
  connect(ui_->howManyModules, &QComboBox::activated, this, &CSystemDataDlg::OnHowManyChanged);
}

CSystemDataDlg::~CSystemDataDlg() = default;

std::optional<std::uint16_t> CSystemDataDlg::JobModel() const {
  return ModelOfTypeIndex(moduleType);
}

void CSystemDataDlg::OnHowManyChanged() {
  ReadChoices();
  if (selection_.selectedRow == -1 && howManyModules == kSelectedModule) {
    prompter_.Message(kModuleNotSelectedText);
    howManyModules = kAllModules;
    WriteChoices();
  }
}

void CSystemDataDlg::accept() {
  ReadChoices();
  // A file job carries the model into every block and into the file checks;
  // the company ID goes without one.
  if (operationType != kCompanyId && !JobModel()) {
    prompter_.Message(" Module Type is not selected, Please select module type first!!!");
    return;
  }
  QDialog::accept();
}

void CSystemDataDlg::ReadChoices() {
  howManyModules = ui_->howManyModules->currentIndex();
  moduleType = ui_->moduleType->currentIndex();
  operationType = ui_->operationType->currentIndex();
  communicationProtocol = ui_->communicationProtocol->currentIndex();
}

void CSystemDataDlg::WriteChoices() {
  ui_->howManyModules->setCurrentIndex(howManyModules);
  ui_->moduleType->setCurrentIndex(moduleType);
  ui_->operationType->setCurrentIndex(operationType);
  ui_->communicationProtocol->setCurrentIndex(communicationProtocol);
}

}  // namespace torvek
