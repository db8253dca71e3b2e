#include "app/main_dialog.h"

#include <QDir>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QScreen>
#include <QTabWidget>

#include "admin/config_page.h"
#include "admin/file_download.h"
#include "app/about_box.h"
#include "controls/cell_color_list.h"
#include "controls/compact_tab_bar.h"
#include "controls/page_keys.h"
#include "core/daily_log.h"
#include "core/start_up_texts.h"
#include "production/jig_page.h"
#include "production/jig_session.h"
#include "production/mac_writer_page.h"
#include "production/radio_test_page.h"
#include "terminals/console_page.h"
#include "terminals/network_page.h"
#include "terminals/network_session.h"
#include "terminals/serial_setup_dialog.h"
#include "ui_main_dialog.h"
#include "upgrade/upgrader_page.h"

namespace torvek {

constexpr int kTabCount = 7, kConsoleTab = 2, kUpgraderTab = 3, kJigTab = 6;

CMainDlg::CMainDlg(Platform& platform, QWidget* parent)
    : QDialog(parent), startUp(MakeStartUpValues(platform)), platform_(platform),
      ui_(std::make_unique<Ui::MainDialog>()) {
  ui_->setupUi(this);
  moduleList_ = ui_->moduleList;
  commandList_ = ui_->commandList;
  // Boxes come where their cause is met: direct connections.
  const auto box = [&prompter = platform_.prompter](const QString& text, const QString& title) {
    prompter.Message(text, title);
  };
  connect(&link_, &ManagementLink::tell, this, box);
  connect(&link_, &ManagementLink::refusal, this,
          [this](const QString& text) { networkBoxes_.Show(text); });
  commands_ = std::make_unique<CommandListPanel>(
      *commandList_, [this](const QString& command) { consolePage->SetInputText(command); },
      [this] { OnCommandListClick(); });
  serialLine_ = std::make_unique<SerialLine>(platform_, startUp);
  connect(serialLine_.get(), &SerialLine::Tell, this, box);
  fileSender_ = std::make_unique<FileSender>(link_, modules_);
  fileUpload_ =
      std::make_unique<FileUpload>(FileUploadLinks{platform_, link_, modules_, *fileSender_});
  fileDownload_ = std::make_unique<FileDownload>(platform_, modules_, link_);
  shortcuts_ = std::make_unique<ModuleShortcuts>(platform_, modules_, [this] {
    ReadUseLanIp();
    return modules_.AddressOfRow(modules_.selectedRow);
  });
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
  connect(ui_->tabControl, &QTabWidget::currentChanged, this, &CMainDlg::ShowTab);
  connect(ui_->useLanIpCheck, &QCheckBox::toggled, this, &CMainDlg::OnUseLanIp);
  const std::pair<QAbstractButton*, void (CMainDlg::*)()> buttons[] = {
      {ui_->findDevicesButton, &CMainDlg::OnFindDevices},
      {ui_->pingTestButton, &CMainDlg::OnPingTest},
      {ui_->openTelnetButton, &CMainDlg::OnOpenTelnet},
      {ui_->openWebBrowserButton, &CMainDlg::OnOpenWebBrowser},
      {ui_->dosCommandButton, &CMainDlg::OnDosCommand},
      {ui_->serialSetupButton, &CMainDlg::OnSerialSetup},
      {ui_->exitButton, &CMainDlg::accept},
      {ui_->cancelButton, &CMainDlg::reject}};
  for (const auto& [button, slot] : buttons)
    connect(button, &QAbstractButton::clicked, this, [this, slot = slot] { (this->*slot)(); });
}

CMainDlg::~CMainDlg() { OnDestroy(); }

int CMainDlg::DoModal() {
  OnInitDialog();
  if (endedDuringStartUp_) return QDialog::Rejected;
  if (const QScreen* screen = QGuiApplication::primaryScreen())
    move(screen->availableGeometry().center() - rect().center());
  return exec();
}

bool CMainDlg::OnInitDialog() {
  modules_.selectedModuleType = "G : default";
  AppendConsoleLog(startUp.dailyLogPath,
                   QString::fromStdString(DailyLogHead(startUp.dailyLogPath.toStdString())));
  AddAboutAction(*this, [this] { ShowAboutBox(); });

  if (!link_.Open()) {
    platform_.prompter.Message(
        "Port 7981 is already used!!!: check other program use the  port 7981");
    endedDuringStartUp_ = true;
    QDialog::done(QDialog::Rejected);
  }
  link_.SetUpSocket();

  moduleList_->ShowTable(modules_.table());
  commands_->InsertColumns();
  modules_.ForgetSelectedRow();
  CreatePages();

  // The first adapter's MAC, or none.
  const QList<Adapter> adapters = platform_.adapters.Adapters();
  link_.SetPcMac(adapters.isEmpty() ? QByteArray() : adapters.first().mac);
  OnFindDevices();
  LoadCommandList(QDir(platform_.paths.WorkingDir()).filePath("command_list.txt"));
  LoadSerialConfig(startUp.serialConfigPath);
  setWindowTitle(startUp.baseTitle);
  return true;
}

void CMainDlg::CreatePages() {
  QTabWidget* tabs = ui_->tabControl;
  const QSignalBlocker quiet(tabs);
  tabs->addTab(configPage = new CConfigPage(ConfigPageLinks()), "IP ");
  networkSession_ = std::make_unique<NetworkSession>(platform_, modules_);
  tabs->addTab(networkPage = new CNetworkPage(*networkSession_), "Network");
  tabs->addTab(consolePage = new CConsolePage({platform_, *serialLine_, startUp, *this}),
               "Console");
  tabs->addTab(upgraderPage = new CUpgraderPage({platform_, *serialLine_, startUp, *this}),
               "Upgrader");
  tabs->addTab(macWriterPage = new CMacWriterPage(
                   {platform_, startUp.programDir, link_.pcMac, modules_, link_}),
               "Mac Writer");
  tabs->addTab(radioTestPage = new CRadioTestPage(platform_.prompter), "Ceritification");
  jigSession_ = std::make_unique<JigSession>(JigLinks{platform_, modules_, link_});
  tabs->addTab(jigPage = new CJigPage(*jigSession_), "Jig_tool");
  jigSession_->Open();
  for (int i = 0; i < tabs->count(); ++i) LeaveEscapeOnPage(tabs->widget(i));
  tabs->setCurrentIndex(0);
  configPage->OnInitDialog();
  macWriterPage->OnInitDialog();

  connect(&link_, &ManagementLink::macWriteAnswer, macWriterPage,
          qOverload<const QByteArray&>(&CMacWriterPage::OnMacWriteAnswer));
  connect(&link_, &ManagementLink::socketError, configPage,
          [page = configPage] { page->SetOperationStatus("Remote module socket error"); });
  connect(fileSender_.get(), &FileSender::StatusText, configPage, &CConfigPage::SetOperationStatus);
  connect(&modules_, &ModuleDirectory::selectionChanged, this, [this] {
    setWindowTitle(QString::fromStdString(
        SelectedTitle(startUp.baseTitle.toStdString(), modules_.selectedAddress.toStdString())));
  });
  serialLine_->SetConsoleSink([page = consolePage](int direction, const QByteArray& text) {
    page->OnSerialText(direction, text);
  });
}

ConfigLinks CMainDlg::ConfigPageLinks() {
  return {platform_, link_, modules_, *fileUpload_, *fileDownload_};
}

void CMainDlg::ShowTab(int index) {
  if (index < 0 || index >= kTabCount) return;
  if (ui_->tabControl->currentIndex() != index) {
    ui_->tabControl->setCurrentIndex(index);  // comes back here through the signal
    return;
  }
  moduleList_->hide();
  commandList_->hide();
  if (index == kUpgraderTab) upgraderPage->DeriveModuleIp(configPage->pcIp);
  (index == kConsoleTab ? commandList_ : moduleList_)->show();
  jigPage->SetArpFlush(index == kJigTab);
}

void CMainDlg::ReadUseLanIp() { modules_.ReadUseLanIp(ui_->useLanIpCheck->isChecked()); }
void CMainDlg::OnUseLanIp() { modules_.OnUseLanIp(ui_->useLanIpCheck->isChecked()); }

void CMainDlg::SelectRow(int row) {
  if (row == modules_.selectedRow) return;
  // A row chosen while a job runs does not move the job's blocks.
  modules_.SelectRow(row, fileUpload_->KeepsJobAddress(modules_.AddressOfRow(row)));
}

void CMainDlg::ShowAboutBox() { RunAboutBox(this, platform_.prompter, startUp.programDir); }

bool CMainDlg::event(QEvent* event) {
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
  link_.ShutDownSends();
  fileSender_->Stop();
  CloseSerial();
  // The last texts of the run still reach the log file.
  if (consolePage) consolePage->FlushOutput();
  if (link_.IsOpen()) platform_.clock.WaitOnUiThread(100);
  link_.Close();
  if (networkSession_) networkSession_->Close();
  if (jigSession_) jigSession_->Close();
}

bool CMainDlg::LoadCommandList(const QString& path) {
  const bool loaded = commands_->Load(path);
  if (loaded) modules_.ForgetSelectedRow();
  return loaded;
}

void CMainDlg::OnCommandListClick() {
  ReadUseLanIp();
  if (!commands_->Click()) modules_.ForgetSelectedRow();
}

void CMainDlg::OnSerialSetup() {
  CSerialSetupDlg dialog(serialLine_->serialConfig, startUp.programDir, this);
  if (platform_.prompter.RunDialog(dialog) == QDialog::Accepted)
    serialLine_->SetUp(dialog.Chosen());
}

void CMainDlg::PostSerialSwitch(int open) {
  QCoreApplication::postEvent(this, new PrivateMessage(WM_SERIAL_SWITCH, open, 0));
}

}  // namespace torvek
