#include "core/main_dialog.h"

#include <QDir>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QScreen>
#include <QTabWidget>

#include "admin/config_page.h"
#include "admin/file_download.h"
#include "admin/file_sender.h"
#include "admin/file_upload.h"
#include "controls/cell_color_list.h"
#include "controls/compact_tab_bar.h"
#include "controls/page_keys.h"
#include "core/about_box.h"
#include "core/answer_dispatch.h"
#include "core/command_list_panel.h"
#include "core/daily_log.h"
#include "core/file_targets.h"
#include "core/model_code.h"
#include "core/module_record.h"
#include "core/module_shortcuts.h"
#include "core/start_up_texts.h"
#include "production/jig_page.h"
#include "production/mac_writer_page.h"
#include "production/radio_test_page.h"
#include "terminals/console_page.h"
#include "terminals/network_page.h"
#include "terminals/serial_line.h"
#include "ui_main_dialog.h"
#include "upgrade/upgrader_page.h"

namespace torvek {

CMainDlg* theMainDlg = nullptr;

namespace {

constexpr int kTabCount = 7;
constexpr int kConsoleTab = 2;
constexpr int kUpgraderTab = 3;
constexpr int kJigTab = 6;

}  // namespace

CMainDlg::CMainDlg(Platform& platform, QWidget* parent)
    : QDialog(parent), managementSocket(platform.prompter), platform_(platform),
      ui_(std::make_unique<Ui::MainDialog>()) {
  ui_->setupUi(this);
  moduleList_ = ui_->moduleList;
  commandList_ = ui_->commandList;
  commands_ = std::make_unique<CommandListPanel>(
      *commandList_, static_cast<CommandListState&>(*this),
      [this](const QString& command) { consolePage->SetInputText(command); },
      [this] { OnCommandListClick(); });
  serialLine_ = std::make_unique<SerialLine>(platform_, *this, *this);
  fileSender_ = std::make_unique<FileSender>(managementSocket, *this, moduleList_->table(), *this);
  fileUpload_ = std::make_unique<FileUpload>(
      FileUploadLinks{platform_, *this, *this, *this, *fileSender_, *moduleList_});
  fileDownload_ = std::make_unique<FileDownload>(platform_, *this, *moduleList_, managementSocket);
  shortcuts_ = std::make_unique<ModuleShortcuts>(platform_, *this, *moduleList_,
                                                 [this] { return ShortcutAddress(); });
  setWindowFlags(Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                 Qt::WindowSystemMenuHint | Qt::WindowMinimizeButtonHint |
                 Qt::WindowCloseButtonHint);
  setFixedSize(size());
  setWindowIcon(TorvekIcon());
  CompactTabBar(*ui_->tabControl);

  moduleList_->SetShowSelectionAlways(true);
  moduleList_->installEventFilter(this);
  connect(moduleList_, &QAbstractItemView::clicked, this,
          [this](const QModelIndex& index) { SelectRow(index.row()); });
  connect(ui_->findDevicesButton, &QPushButton::clicked, this, &CMainDlg::OnFindDevices);
  connect(ui_->exitButton, &QPushButton::clicked, this, &QDialog::accept);
  connect(ui_->cancelButton, &QPushButton::clicked, this, &QDialog::reject);
  connect(ui_->tabControl, &QTabWidget::currentChanged, this, &CMainDlg::ShowTab);
  connect(ui_->pingTestButton, &QPushButton::clicked, this, &CMainDlg::OnPingTest);
  connect(ui_->openTelnetButton, &QPushButton::clicked, this, &CMainDlg::OnOpenTelnet);
  connect(ui_->openWebBrowserButton, &QPushButton::clicked, this, &CMainDlg::OnOpenWebBrowser);
  connect(ui_->dosCommandButton, &QPushButton::clicked, this, &CMainDlg::OnDosCommand);
  connect(ui_->serialSetupButton, &QPushButton::clicked, this, &CMainDlg::OnSerialSetup);
  connect(ui_->useLanIpCheck, &QCheckBox::toggled, this, &CMainDlg::OnUseLanIp);
}

CMainDlg::~CMainDlg() {
  OnDestroy();
  if (theMainDlg == this) theMainDlg = nullptr;
}

int CMainDlg::DoModal() {
  OnInitDialog();
  if (endedDuringStartUp_) return QDialog::Rejected;
  if (const QScreen* screen = QGuiApplication::primaryScreen())
    move(screen->availableGeometry().center() - rect().center());
  return exec();
}

bool CMainDlg::OnInitDialog() {
  Prompter& prompter = platform_.prompter;
  selectedModuleType = "G : default";

  programFile = platform_.paths.ProgramFile();
  programDir = platform_.paths.ProgramDir();

  dailyLogPath = QString::fromStdString(
      DailyLogPath(programDir.toStdString(), LocalTm(platform_.clock.LocalNow())));
  AppendConsoleLog(dailyLogPath, QString::fromStdString(DailyLogHead(dailyLogPath.toStdString())));

  serialConfigPath = programDir + "serial_config.dat";
  theMainDlg = this;

  AddAboutAction(*this, [this] { ShowAboutBox(); });

  if (!managementSocket.CreateDatagram(frame::kToolPort)) {
    prompter.Message("Port 7981 is already used!!!: check other program use the  port 7981");
    endedDuringStartUp_ = true;
    QDialog::done(QDialog::Rejected);
  }
  managementSocket.SetNotifyMessage(WM_SOCKET_NOTIFY);
  managementSocket.SetNotifyWindow(this);
  managementSocket.SetBroadcast(true);
  managementSocket.SetBuffers(0x300000, 0x200000);

  InsertListColumns();
  selectedRow = -1;

  CreatePages();

  const QList<Adapter> adapters = platform_.adapters.Adapters();
  if (!adapters.isEmpty() && adapters.first().mac.size() == 6)
    std::copy_n(reinterpret_cast<const std::uint8_t*>(adapters.first().mac.constData()), 6,
                pcMac.begin());
  FrameTemplate = MakeFrameTemplate(pcMac);

  OnFindDevices();

  serialConfig = SerialConfig{};
  serialOpen = false;
  LoadCommandList(QDir(platform_.paths.WorkingDir()).filePath("command_list.txt"));
  LoadSerialConfig(serialConfigPath);

  baseTitle = ProgramBaseTitle(programFile);
  setWindowTitle(baseTitle);
  return true;
}

void CMainDlg::InsertListColumns() {
  moduleList_->table().SetKeyColumn(kColMac);
  for (int c = 0; c < kModuleColumnCount; ++c)
    moduleList_->InsertColumn(c, kModuleColumns[static_cast<std::size_t>(c)].header, 2,
                              kModuleColumns[static_cast<std::size_t>(c)].width, c);
  commands_->InsertColumns();
}

void CMainDlg::CreatePages() {
  QTabWidget* tabs = ui_->tabControl;
  const QSignalBlocker quiet(tabs);
  fileDownload_->PutHandlers(OnConfigAnswer, OnLogoAnswer, OnLogAnswer);
  tabs->addTab(configPage = new CConfigPage(ConfigPageLinks()), "IP ");
  networkSession_ = std::make_unique<NetworkSession>(platform_, *this);
  tabs->addTab(networkPage = new CNetworkPage(*networkSession_), "Network");
  tabs->addTab(consolePage = new CConsolePage({platform_, *serialLine_, *this, *this, *this}),
               "Console");
  tabs->addTab(upgraderPage = new CUpgraderPage({platform_, *serialLine_, *this, *this, *this}),
               "Upgrader");
  tabs->addTab(macWriterPage = new CMacWriterPage({platform_, *this, *this, *this, {}}),
               "Mac Writer");
  OnMacWriteAnswer = [page = macWriterPage](const std::uint8_t* frame, std::size_t length) {
    page->OnMacWriteAnswer(frame, length);
  };
  tabs->addTab(radioTestPage = new CRadioTestPage(platform_.prompter), "Ceritification");
  jigSession_.reset(new JigSession({platform_, *this, moduleList_->table(), *this}));
  tabs->addTab(jigPage = new CJigPage(*jigSession_), "Jig_tool");
  jigSession_->Open();
  for (int i = 0; i < tabs->count(); ++i) LeaveEscapeOnPage(tabs->widget(i));
  tabs->setCurrentIndex(0);
  configPage->OnInitDialog();
  macWriterPage->OnInitDialog();
  serialLine_->SetConsoleSink([page = consolePage](int direction, const QByteArray& text) {
    page->OnSerialText(direction, text);
  });
  connect(fileSender_.get(), &FileSender::StatusText, configPage, &CConfigPage::SetOperationStatus);
}

ConfigLinks CMainDlg::ConfigPageLinks() {
  return {platform_, *this, *this, *this, *moduleList_, *this, *fileUpload_, *fileDownload_};
}

void CMainDlg::ShowTab(int index) {
  if (index < 0 || index >= kTabCount) return;
  if (ui_->tabControl->currentIndex() != index) {
    ui_->tabControl->setCurrentIndex(index);  // comes back here through the signal
    return;
  }
  moduleList_->hide();
  commandList_->hide();
  if (index == kUpgraderTab) upgraderPage->DeriveModuleIp(pcIp);
  (index == kConsoleTab ? commandList_ : moduleList_)->show();
  jigPage->SetArpFlush(index == kJigTab);
}

void CMainDlg::StampFrame(std::uint8_t* frame, std::size_t length) {
  std::optional<std::uint16_t> code;
  if (frame[frame::kCommand] != frame::kCmdSearch)
    code = ModelCodeOrTell(selectedModuleType, platform_.prompter);
  torvek::StampFrame(frame, length, selectedFirmwareMajor, code);
}

bool CMainDlg::SendFrame(std::uint8_t* frame, std::size_t length) {
  StampFrame(frame, length);
  if (managementSocket.SendTo(frame, length, frame::kModulePort, "255.255.255.255") == -1) {
    // The second value names the command that could not go out.
    platform_.prompter.Message(QString::asprintf(" SendTo cmd Error(%d)= %x",
                                                 managementSocket.lastError,
                                                 static_cast<unsigned>(frame[frame::kCommand])),
                               "Error");
    return false;
  }
  return true;
}

bool CMainDlg::SendFrameAndSearch(std::uint8_t* frame) {
  const bool sent = SendFrame(frame, frame::kRequestLength);
  OnFindDevices();
  return sent;
}

bool CMainDlg::SendFileFrame(const std::uint8_t* frame, std::size_t length) {
  return fileSender_->SendFileFrame(frame, length);
}

void CMainDlg::PublishFileTargets() { fileSender_->PublishTargets(); }

int CMainDlg::StoreDownloadFrame(const QString& path, const char* mode) {
  return fileDownload_->StoreDownloadFrame(path, mode);
}

void CMainDlg::PingAllModules() { fileUpload_->PingAllModules(); }

void CMainDlg::ReadUseLanIp() {
  useLanIp = ui_->useLanIpCheck->isChecked() ? 1 : 0;
  fileSender_->TargetsChanged();
}

void CMainDlg::OnUseLanIp() {
  ReadUseLanIp();
  // Without a selected row there is nothing to read, and the addresses stay.
  if (selectedRow < 0 || selectedRow >= moduleList_->RowCount()) return;
  selectedAddress = AddressOfRow(selectedRow);
  // Also during an upload: its next unicast blocks go to the new address
  // (ReadUseLanIp asked for the targets to be published again).
  selectedModuleIp = selectedAddress;
}

void CMainDlg::OnFindDevices() {
  if (!fileUpload_->RefusesSearch()) StartSearch();
}

void CMainDlg::StartSearch() {
  moduleList_->DeleteAllRows();
  moduleList_->viewport()->update();
  PrepareSearch(FrameTemplate);
  SendFrame(FrameTemplate.data(), frame::kSearchLength);
  selectedRow = -1;
  fileSender_->TargetsChanged();
}

void CMainDlg::OnModuleRecord() {
  AddModuleRecord(moduleList_->table(), managementSocket.receiveBuffer.data(),
                  managementSocket.receivedLength);
  fileSender_->TargetsChanged();
}

int CMainDlg::FindRowByMac(const QString& macText) const {
  return moduleList_->table().FindRow(macText.toStdString());
}

QString CMainDlg::AddressOfRow(int row) const {
  return moduleList_->GetItemText(row, useLanIp ? kColLanIp : kColWanIp);
}

void CMainDlg::SelectRow(int row) {
  if (row == selectedRow) return;
  selectedRow = row;
  ShowModuleSettings(row);
  selectedModuleMac = ParseMacText(moduleList_->table().GetItemText(row, kColMac));
  std::copy(selectedModuleMac.begin(), selectedModuleMac.end(),
            FrameTemplate.begin() + frame::kTargetMac);
  const std::string& version = moduleList_->table().GetItemText(row, kColVersion);
  selectedFirmwareMajor = version.empty() ? -'0' : version[0] - '0';
  selectedAddress = AddressOfRow(row);
  if (!fileUpload_->KeepsJobAddress(selectedAddress)) selectedModuleIp = selectedAddress;
  selectedModuleType = moduleList_->GetItemText(row, kColType);
  fileSender_->TargetsChanged();
  networkPage->OnTargetModuleChanged();
  setWindowTitle(QString::fromStdString(
      SelectedTitle(baseTitle.toStdString(), selectedAddress.toStdString())));
}

void CMainDlg::ShowModuleSettings(int row) {
  QStringList columns;
  for (int c = 0; c < kModuleColumnCount; ++c) columns << moduleList_->GetItemText(row, c);
  configPage->ShowSettings(columns);
}

void CMainDlg::OnManagementNotify(long long wParam, long long /*lParam*/) {
  if (wParam != 0) {
    configPage->SetOperationStatus("Remote module socket error");
    return;
  }
  // A box runs its own loop and the next datagram may land in the same buffer:
  // nothing after a box reads the frame again.
  const std::uint8_t* frame = managementSocket.receiveBuffer.data();
  const AnswerDecision decision = DecideAnswer(frame[frame::kResult], frame[frame::kCommand]);
  switch (decision.route) {
    case AnswerRoute::Refused:
    case AnswerRoute::AddressChanged:
    case AnswerRoute::Unknown:
      platform_.prompter.Message(QString::fromStdString(decision.text));
      break;
    case AnswerRoute::Silent: break;
    case AnswerRoute::ModuleRecord: OnModuleRecord(); break;
    case AnswerRoute::ConfigBlock:
      if (OnConfigAnswer) OnConfigAnswer();
      break;
    case AnswerRoute::LogoBlock:
      if (OnLogoAnswer) OnLogoAnswer();
      break;
    case AnswerRoute::LogBlock:
      if (OnLogAnswer) OnLogAnswer();
      break;
    case AnswerRoute::MacWrite: {
      const MacWriteCopy copy = CopyMacWriteAnswer(frame, managementSocket.receivedLength);
      if (OnMacWriteAnswer) OnMacWriteAnswer(copy.bytes.data(), copy.length);
      break;
    }
    case AnswerRoute::SearchAgain:
      // A module that came back from its defaults: no test of a running job.
      StartSearch();
      break;
  }
}

void CMainDlg::ShowAboutBox() { RunAboutBox(this, platform_.prompter, programDir); }

bool CMainDlg::event(QEvent* event) {
  if (event->type() == PrivateMessage::TypeOf(WM_SOCKET_NOTIFY)) {
    const auto* message = static_cast<PrivateMessage*>(event);
    OnManagementNotify(message->wParam, message->lParam);
    return true;
  }
  if (event->type() == PrivateMessage::TypeOf(WM_SERIAL_SWITCH)) {
    OnSerialSwitch(static_cast<int>(static_cast<PrivateMessage*>(event)->wParam));
    return true;
  }
  return QDialog::event(event);
}

bool CMainDlg::eventFilter(QObject* watched, QEvent* event) {
  if (watched == moduleList_ && event->type() == QEvent::KeyPress) {
    const int key = static_cast<QKeyEvent*>(event)->key();
    const int row = moduleList_->SelectedRow();
    const int count = moduleList_->RowCount();
    if (row >= 0 && count > 0) {
      if (key == Qt::Key_Down && row < count - 1) SelectRow(row + 1);
      if (key == Qt::Key_Up && row > 0) SelectRow(row - 1);
    }
  }
  return QDialog::eventFilter(watched, event);
}

void CMainDlg::done(int result) {
  QDialog::done(result);
  OnDestroy();
}

void CMainDlg::OnDestroy() {
  if (destroyed_) return;
  destroyed_ = true;
  // No block goes out once the window is gone, and nothing is left that
  // could send when the socket closes.
  managementSocket.ShutDown(CNotifySocket::kShutSends);
  fileSender_->Stop();
  CloseSerial();
  // The last texts of the run still reach the log file.
  if (consolePage) consolePage->FlushOutput();
  if (managementSocket.IsOpen()) platform_.clock.WaitOnUiThread(100);
  managementSocket.Close();
  if (networkSession_) networkSession_->Close();
  if (jigSession_) jigSession_->Close();
}

// The command list.

bool CMainDlg::LoadCommandList(const QString& path) {
  const bool loaded = commands_->Load(path);
  if (loaded) selectedRow = -1;
  return loaded;
}

void CMainDlg::OnCommandListClick() {
  ReadUseLanIp();
  if (!commands_->Click()) selectedRow = -1;
}

int CMainDlg::NextCommandRow(int& count, int& row) { return commands_->NextRow(count, row); }

void CMainDlg::MarkCommandRow(int row, bool on) { commands_->MarkRow(row, on); }

// The shortcuts.

bool CMainDlg::HaveSelectedModule() { return shortcuts_->HaveSelectedModule(); }

QString CMainDlg::ShortcutAddress() {
  ReadUseLanIp();
  return AddressOfRow(selectedRow);
}

void CMainDlg::OnPingTest() { shortcuts_->OnPingTest(); }
void CMainDlg::OnOpenTelnet() { shortcuts_->OnOpenTelnet(); }
void CMainDlg::OnOpenWebBrowser() { shortcuts_->OnOpenWebBrowser(); }
void CMainDlg::OnDosCommand() { shortcuts_->OnDosCommand(); }

// The serial line.

void CMainDlg::OnSerialSetup() { serialLine_->RunSetup(this); }
void CMainDlg::OnSerialSwitch(int open) { serialLine_->Switch(open); }

void CMainDlg::PostSerialSwitch(int open) {
  QCoreApplication::postEvent(this, new PrivateMessage(WM_SERIAL_SWITCH, open, 0));
}

void CMainDlg::OpenSerial() { serialLine_->OpenWithSavedSettings(); }
void CMainDlg::CloseSerial() { serialLine_->Close(); }
bool CMainDlg::SerialReaderRunning() const { return serialLine_->ReaderRunning(); }

void CMainDlg::FeedSerialText(int direction, const QByteArray& text, std::int64_t tick) {
  serialLine_->Feed(direction, text, tick);
}

void CMainDlg::SendSerialText(const QByteArray& text) { serialLine_->Send(text); }
bool CMainDlg::SaveSerialConfig(const QString& path) { return serialLine_->SaveSettings(path); }
bool CMainDlg::LoadSerialConfig(const QString& path) { return serialLine_->LoadSettings(path); }

}  // namespace torvek
