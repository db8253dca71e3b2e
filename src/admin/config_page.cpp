#include "admin/config_page.h"

#include <QFile>
#include <vector>

#include "admin/download_store.h"
#include "admin/file_download.h"
#include "admin/file_job.h"
#include "admin/file_upload.h"
#include "admin/module_command.h"
#include "admin/operation_dialogs.h"
#include "admin/pc_network_texts.h"
#include "admin/set_request.h"
#include "controls/ip_address_ctrl.h"
#include "core/management_link.h"
#include "core/module_directory.h"
#include "core/module_record.h"
#include "platform/platform.h"
#include "ui_config_page.h"

namespace torvek {

namespace {

constexpr int kMinimumFirmwareMajor = 3;
constexpr auto kVersionGateText = " This function supports module firmware version 3.0 above";
constexpr int kProgressPeriodMs = 100;

// "Name(*.x)|*.x||" as the file dialogs of the desktop take it.
QString DialogFilter(const char* filter) {
  const QStringList parts = QString(filter).split('|', Qt::SkipEmptyParts);
  QStringList out;
  for (int i = 0; i + 1 < parts.size(); i += 2) out << parts[i] + " (" + parts[i + 1] + ")";
  return out.join(";;");
}

}  // namespace

CConfigPage::CConfigPage(const ConfigLinks& links, QWidget* parent)
    : QWidget(parent), links_(links), ui_(std::make_unique<Ui::ConfigPage>()) {
  ui_->setupUi(this);
  setObjectName("config_page");
  for (CIpAddressCtrl* address : findChildren<CIpAddressCtrl*>())
    address->SetBeeper(&links_.platform.beeper);
  connect(ui_->setButton, &QPushButton::clicked, this, &CConfigPage::OnSet);
  connect(ui_->refreshButton, &QPushButton::clicked, this, &CConfigPage::OnRefresh);
  connect(ui_->moduleRebootButton, &QPushButton::clicked, this, &CConfigPage::OnModuleReboot);
  connect(ui_->factoryDefaultButton, &QPushButton::clicked, this, &CConfigPage::OnFactoryDefault);
  connect(ui_->setConfigurationButton, &QPushButton::clicked, this,
          &CConfigPage::OnSetConfiguration);
  connect(ui_->getConfigurationButton, &QPushButton::clicked, this,
          &CConfigPage::OnGetConfiguration);
  connect(&links_.upload, &FileUpload::StatusText, this, &CConfigPage::SetOperationStatus);
  connect(&links_.download, &FileDownload::StatusText, this, &CConfigPage::SetOperationStatus);
  connect(&links_.download, &FileDownload::ModuleStatus, this, &CConfigPage::ShowModuleStatus);
  connect(&links_.modules, &ModuleDirectory::selectionChanged, this,
          &CConfigPage::ShowSelectedModule);
  progressTimer_.setInterval(kProgressPeriodMs);
  connect(&progressTimer_, &QTimer::timeout, this, &CConfigPage::ShowProgress);
}

CConfigPage::~CConfigPage() = default;

void CConfigPage::OnInitDialog() {
  links_.download.downloadPath = links_.platform.paths.FixedFile("test.bin");
  OnRefresh();
}

void CConfigPage::ShowSettings(const QStringList& columns) {
  const auto column = [&columns](int c) { return c < columns.size() ? columns[c] : QString(); };
  ui_->lanIp->SetText(column(kColLanIp));
  ui_->lanSubnet->SetText(column(kColLanSubnet));
  ui_->lanGateway->SetText(column(kColLanGateway));
  ui_->moduleMac->setText(column(kColMac));
  ui_->dhcpServer->setCurrentIndex(column(kColDhcp) == "0" ? 0 : 1);
  ui_->wanIp->SetText(column(kColWanIp));
  ui_->wanSubnet->SetText(column(kColWanSubnet));
  ui_->wanGateway->SetText(column(kColWanGateway));
  ui_->wanMac->setText(column(kColWanMac));
  ui_->wanIpType->setCurrentIndex(IpTypeIndex(column(kColIpType).toStdString()));
  ui_->firmwareVersion->setText(": " + column(kColVersion));
}

void CConfigPage::ShowSelectedModule() {
  const CellTable& table = links_.modules.table();
  QStringList columns;
  for (int c = 0; c < kModuleColumnCount; ++c)
    columns << QString::fromStdString(table.GetItemText(links_.modules.selectedRow, c));
  ShowSettings(columns);
}

bool CConfigPage::VersionGateRefuses() {
  if (links_.modules.selectedFirmwareMajor >= kMinimumFirmwareMajor) return false;
  links_.platform.prompter.Message(kVersionGateText);
  return true;
}

void CConfigPage::OnSet() {
  Prompter& prompter = links_.platform.prompter;
  if (VersionGateRefuses()) return;
  if (!prompter.AskYesNo("Would like to change Information", "Warning")) return;
  if (SubnetMismatch(ui_->lanIp->GetAddress(), ui_->lanSubnet->GetAddress(),
                     ui_->lanGateway->GetAddress())) {
    prompter.Message("IP , Subnet , Gateway mismatch");
    return;
  }
  // The question leaves the list usable, so the selection may have changed.
  if (links_.modules.selectedFirmwareMajor < kMinimumFirmwareMajor) {
    prompter.Message(" Module firmware version below is not supported");
    return;
  }
  FillSetRequest(links_.link.FrameTemplate.data(), ui_->dhcpServer->currentIndex(),
                 ui_->lanIp->GetAddress(), ui_->lanSubnet->GetAddress(),
                 ui_->lanGateway->GetAddress());
  // A broadcast: the target MAC alone names the module.
  links_.link.SendFrame(links_.link.FrameTemplate.data(), frame::kRequestLength);
}

void CConfigPage::OnRefresh() {
  const QList<Adapter> found = links_.platform.adapters.Adapters();
  std::vector<PcAdapter> adapters;
  for (const Adapter& adapter : found) {
    PcAdapter& a = adapters.emplace_back();
    a.mac.assign(adapter.mac.begin(), adapter.mac.end());
    for (const AdapterAddress& address : adapter.addresses)
      a.addresses.emplace_back(address.ip.toStdString(), address.mask.toStdString());
    for (const QString& gateway : adapter.gateways) a.gateways.push_back(gateway.toStdString());
  }
  const PcNetworkTexts texts = MakePcNetworkTexts(adapters);
  ui_->pcIpLabel->setText(QString::fromStdString(texts.ip));
  ui_->pcMaskLabel->setText(QString::fromStdString(texts.mask));
  ui_->pcGatewayLabel->setText(QString::fromStdString(texts.gateway));
  ui_->pcMacLabel->setText(QString::fromStdString(texts.mac));
  pcIp = QString::fromStdString(texts.pcIp);
}

void CConfigPage::SetOperationStatus(const QString& text) { ui_->operationStatus->setText(text); }

QString CConfigPage::OperationStatus() const { return ui_->operationStatus->text(); }

bool CConfigPage::CheckImageFile(int model, int operation, QString path) {
  return links_.upload.CheckImageFile(model, operation, std::move(path));
}

void CConfigPage::OnSetConfiguration() {
  if (ConfigPageBusy()) return;
  Prompter& prompter = links_.platform.prompter;
  const ModuleDirectory& selection = links_.modules;
  CSystemDataDlg data(prompter, selection, this);
  if (prompter.RunDialog(data) != QDialog::Accepted) return;
  if (data.howManyModules == 0) {
    if (selection.selectedRow == -1) {
      prompter.Message(kModuleNotSelectedText);
      return;
    }
    if (VersionGateRefuses()) return;
  }
  if (data.operationType == CSystemDataDlg::kCompanyId) {
    SendCompanyId(data.howManyModules != 0);
    return;
  }
  const std::optional<UploadKind> kind = UploadKindOf(data.operationType);
  if (!kind) {
    prompter.Message(" Type Selection Error");
    return;
  }
  const QString path = prompter.OpenFileName("Open", DialogFilter(kind->filter), kind->defaultName);
  if (path.isEmpty()) return;
  uploadPath = path;
  ui_->operationFile->setText(path);
  StartFileJob(kind->command, selection.selectedModuleMac, path, data.howManyModules,
               *data.JobModel(), data.operationType, data.communicationProtocol);
}

void CConfigPage::StartFileJob(std::uint8_t command, const MacAddress& moduleMac, QString path,
                               int all, int model, int operation, int protocol) {
  if (!links_.upload.StartFileJob(command, moduleMac, std::move(path), all, model, operation,
                                  protocol))
    return;
  // The job's block count is known once it is queued.
  ui_->progress->setMaximum(std::max(1, links_.upload.BlockTotal()));
  ui_->progress->setValue(0);
  progressTimer_.start();
}

void CConfigPage::ShowProgress() {
  ui_->progress->setValue(links_.upload.BlocksSent());
  if (!links_.link.fileJobRunning) progressTimer_.stop();
}

int CConfigPage::ProgressValue() const { return ui_->progress->value(); }
int CConfigPage::ProgressMaximum() const { return ui_->progress->maximum(); }

void CConfigPage::OnGetConfiguration() {
  SetOperationStatus(QString());
  Prompter& prompter = links_.platform.prompter;
  const ModuleDirectory& selection = links_.modules;
  if (selection.selectedRow == -1) {
    prompter.Message(kModuleNotSelectedText);
    return;
  }
  if (VersionGateRefuses()) return;
  const std::optional<std::string> configName =
      ConfigFileName(ModelCodeOf(selection.selectedModuleType.toStdString()));
  if (!configName) {
    prompter.Message(" Not supported module type");
    return;
  }
  CGetOperationDlg operation(this);
  if (prompter.RunDialog(operation) != QDialog::Accepted) return;
  const std::optional<DownloadKind> kind = DownloadKindOf(operation.choice);
  if (!kind) {
    prompter.Message(" Type Selection Error");
    return;
  }
  const QString path =
      prompter.SaveFileName("Save As", kind->defaultName ? kind->defaultName : configName->c_str(),
                            DialogFilter(kind->filter));
  if (path.isEmpty()) return;
  ui_->operationFile->setText(path);
  links_.download.Begin(path, DownloadLimit(kind->request));
  SendModuleCommand(kind->request, false, kNoParameter);
}

void CConfigPage::ShowModuleStatus(std::uint8_t result, std::uint32_t status, std::uint16_t seq) {
  SetOperationStatus(QString::fromStdString(ModuleStatusText(result, status, seq)));
}

bool CConfigPage::ConfigPageBusy() {
  SetOperationStatus(QString());
  Prompter& prompter = links_.platform.prompter;
  if (links_.link.fileJobRunning) {
    prompter.Message("Module config is running !!!");
    return true;
  }
  if (links_.modules.RowCount() == 0) {
    prompter.Message("There is no module at the list, Please do the search button first!!!");
    return true;
  }
  return false;
}

void CConfigPage::SendModuleCommand(std::uint8_t command, bool all, std::int32_t parameter) {
  FrameBuffer frame{};
  FillModuleCommand(frame.data(), command, links_.modules.selectedFirmwareMajor, all,
                    links_.link.pcMac, links_.modules.selectedModuleMac, parameter);
  // A broadcast: the target MAC alone names the module.
  links_.link.SendFrame(frame.data(), frame::kRequestLength);
}

void CConfigPage::OnModuleReboot() {
  SendShortCommand(frame::kCmdReboot, "Are you sure to reboot?", "Reboot command is sent");
}

void CConfigPage::OnFactoryDefault() {
  SendShortCommand(frame::kCmdFactoryDefault, "Are you sure to make factory default configuration?",
                   "Factory default command is sent");
}

void CConfigPage::SendShortCommand(std::uint8_t command, const QString& question,
                                   const QString& sentText) {
  if (ConfigPageBusy()) return;
  Prompter& prompter = links_.platform.prompter;
  if (VersionGateRefuses()) return;
  if (!prompter.AskYesNo(question)) return;
  CHowManyDlg howMany(this);
  if (prompter.RunDialog(howMany) != QDialog::Accepted) return;
  if (howMany.choice == 0 && links_.modules.selectedRow == -1) {
    prompter.Message(kModuleNotSelectedText);
    return;
  }
  SendModuleCommand(command, howMany.choice != 0, kNoParameter);
  // Gone out, not necessarily carried out.
  SetOperationStatus(sentText);
}

void CConfigPage::SendCompanyId(bool all) {
  Prompter& prompter = links_.platform.prompter;
  CCompanyIdDlg company(this);
  if (prompter.RunDialog(company) != QDialog::Accepted) return;
  if (!prompter.AskYesNo("Are you sure to change company ID?")) return;
  SendModuleCommand(frame::kCmdSetCompanyId, all, company.choice);
}

}  // namespace torvek
