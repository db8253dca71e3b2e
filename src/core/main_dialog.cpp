#include "core/main_dialog.h"

#include <QAction>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QScreen>
#include <QScrollBar>
#include <QTabWidget>
#include <QThread>
#include <QTimer>

#include "admin/config_page.h"
#include "controls/cell_color_list.h"
#include "controls/compact_tab_bar.h"
#include "controls/page_keys.h"
#include "core/answer_dispatch.h"
#include "core/command_list.h"
#include "core/daily_log.h"
#include "core/file_targets.h"
#include "core/module_record.h"
#include "core/start_up_texts.h"
#include "production/jig_page.h"
#include "production/mac_writer_page.h"
#include "production/radio_test_page.h"
#include "terminals/console_page.h"
#include "terminals/network_page.h"
#include "terminals/serial_port.h"
#include "terminals/serial_setup_dialog.h"
#include "ui_about_dialog.h"
#include "ui_main_dialog.h"
#include "upgrade/upgrader_page.h"

namespace torvek {

CMainDlg* theMainDlg = nullptr;

namespace {

constexpr int kTabCount = 7;
constexpr int kConsoleTab = 2;
constexpr int kUpgraderTab = 3;
constexpr int kJigTab = 6;
constexpr int kCommandColumns = 4;
constexpr Color kMarkRed = 0x0000FF;
constexpr Color kWhite = 0xFFFFFF;
constexpr std::size_t kMacWriteCopyLength = 1228;

std::tm ToTm(const QDateTime& when) {
  std::tm t{};
  const QDate d = when.date();
  const QTime c = when.time();
  t.tm_year = d.year() - 1900;
  t.tm_mon = d.month() - 1;
  t.tm_mday = d.day();
  t.tm_wday = d.dayOfWeek() % 7;
  t.tm_hour = c.hour();
  t.tm_min = c.minute();
  t.tm_sec = c.second();
  return t;
}

}  // namespace

// Icon 128: drawn rather than shipped, so no image file can go missing.
QIcon TorvekIcon() {
  QPixmap pixmap(32, 32);
  pixmap.fill(Qt::transparent);
  QPainter p(&pixmap);
  p.setRenderHint(QPainter::Antialiasing);
  p.setBrush(QColor(0x1F, 0x5F, 0x9F));
  p.setPen(Qt::NoPen);
  p.drawRoundedRect(2, 2, 28, 28, 6, 6);
  p.setPen(QPen(Qt::white, 2.5));
  p.drawLine(9, 10, 23, 10);
  p.drawLine(16, 10, 16, 24);
  return QIcon(pixmap);
}

CMainDlg::CMainDlg(Platform& platform, QWidget* parent)
    : QDialog(parent), managementSocket(platform.prompter), platform_(platform),
      ui_(std::make_unique<Ui::MainDialog>()) {
  ui_->setupUi(this);
  moduleList_ = ui_->moduleList;
  commandList_ = ui_->commandList;
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
  // A click anywhere in the command list, below its last row included.
  commandList_->viewport()->installEventFilter(this);
  connect(ui_->useLanIpCheck, &QCheckBox::clicked, this, &CMainDlg::OnUseLanIp);
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
      DailyLogPath(programDir.toStdString(), ToTm(platform_.clock.LocalNow())));
  AppendConsoleLog(dailyLogPath,
                   QString::fromStdString(DailyLogHead(dailyLogPath.toStdString())));

  serialConfigPath = programDir + "serial_config.dat";
  theMainDlg = this;

  // The about box hangs in the window's own menu (right click, or F1).
  auto* about = new QAction(tr("&About Torvek...Version 1.1"), this);
  about->setShortcut(QKeySequence::HelpContents);
  connect(about, &QAction::triggered, this, &CMainDlg::ShowAboutBox);
  addAction(about);
  setContextMenuPolicy(Qt::ActionsContextMenu);

  if (!managementSocket.CreateDatagram(frame::kToolPort)) {
    prompter.Message("Port 7981 is already used!!!: check other program use the  port 7981");
    endedDuringStartUp_ = true;
    QDialog::done(QDialog::Rejected);
  }
  managementSocket.SetNotifyMessage(WM_SOCKET_NOTIFY);
  managementSocket.SetNotifyWindow(this);
  managementSocket.SetBroadcast(true);
  managementSocket.SetBuffers(0x300000, 0x200000);

  moduleList_->table().SetKeyColumn(kColMac);
  for (int c = 0; c < kModuleColumnCount; ++c)
    moduleList_->InsertColumn(c, kModuleColumns[static_cast<std::size_t>(c)].header, 2,
                              kModuleColumns[static_cast<std::size_t>(c)].width, c);
  static constexpr struct {
    const char* header;
    int format;
    int width;
  } kCommandListColumns[kCommandColumns] = {
      {"#", 2, 30}, {"Syntax", 0, 80}, {"Command send", 0, 200}, {"Description", 0, 340}};
  for (int c = 0; c < kCommandColumns; ++c)
    commandList_->InsertColumn(c, kCommandListColumns[c].header, kCommandListColumns[c].format,
                               kCommandListColumns[c].width, c);
  commandList_->hide();
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

  const QFileInfo info(programFile);
  QDateTime created = info.birthTime();
  if (!created.isValid()) created = info.metadataChangeTime();
  baseTitle = QString::fromStdString(
      BaseTitle(ProgramTimeText(ToTm(created.toLocalTime()))));
  setWindowTitle(baseTitle);
  return true;
}

void CMainDlg::CreatePages() {
  QTabWidget* tabs = ui_->tabControl;
  const QSignalBlocker quiet(tabs);
  tabs->addTab(configPage = new CConfigPage(*this), "IP ");
  tabs->addTab(networkPage = new CNetworkPage, "Network");
  tabs->addTab(consolePage = new CConsolePage, "Console");
  tabs->addTab(upgraderPage = new CUpgraderPage, "Upgrader");
  tabs->addTab(macWriterPage = new CMacWriterPage, "Mac Writer");
  tabs->addTab(radioTestPage = new CRadioTestPage, "Ceritification");
  tabs->addTab(jigPage = new CJigPage, "Jig_tool");
  for (int i = 0; i < tabs->count(); ++i) LeaveEscapeOnPage(tabs->widget(i));
  tabs->setCurrentIndex(0);
  configPage->OnInitDialog();
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
  if (frame[frame::kCommand] != frame::kCmdSearch) {
    code = ModelCodeOf(selectedModuleType.toStdString());
    if (!code)
      platform_.prompter.Message(
          QString::fromStdString(InvalidTypeStringText(selectedModuleType.toStdString())));
  }
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
  if (fileJobBroadcast != 0) {
    // Nobody is told of a lost broadcast block.
    int ignored = 0;
    managementSocket.SendTo(frame, length, frame::kModulePort, "255.255.255.255", &ignored);
    return true;
  }
  // Decided afresh for every block: the list and the selection as they are now.
  std::vector<std::string> targets;
  const auto collect = [this, &targets] {
    if (fileJobAll == 0)
      targets = {selectedModuleIp.toStdString()};
    else
      targets = FileTargetAddresses(moduleList_->table(), fileJobModel, useLanIp != 0);
  };
  if (QThread::currentThread() == thread())
    collect();
  else
    QMetaObject::invokeMethod(this, collect, Qt::BlockingQueuedConnection);

  int error = 0;
  for (const std::string& address : targets)
    if (managementSocket.SendTo(frame, length, frame::kModulePort, address, &error) == -1) {
      const QString text = QString::asprintf(" SendTo cmd Error(%d)= %x", error,
                                             static_cast<unsigned>(frame[frame::kCommand]));
      QMetaObject::invokeMethod(
          configPage, [page = configPage, text] { page->SetOperationStatus(text); },
          QThread::currentThread() == thread() ? Qt::DirectConnection : Qt::QueuedConnection);
      return false;
    }
  return true;
}

void CMainDlg::PingAllModules() {
  for (int row = 0; row < moduleList_->RowCount(); ++row)
    platform_.launcher.StartHidden("ping", {"-c", "2", AddressOfRow(row)});
  platform_.clock.WaitOnUiThread(2000);
}

void CMainDlg::ReadUseLanIp() { useLanIp = ui_->useLanIpCheck->isChecked() ? 1 : 0; }

void CMainDlg::OnUseLanIp() {
  ReadUseLanIp();
  // Without a selected row there is nothing to read, and the addresses stay.
  if (selectedRow < 0 || selectedRow >= moduleList_->RowCount()) return;
  selectedAddress = AddressOfRow(selectedRow);
  // Also during an upload: its next unicast blocks go to the new address.
  selectedModuleIp = selectedAddress;
}

void CMainDlg::OnFindDevices() {
  if (fileJobRunning) {
    platform_.prompter.Message("Module config is on process, try later !!!");
    return;
  }
  StartSearch();
}

void CMainDlg::StartSearch() {
  moduleList_->DeleteAllRows();
  moduleList_->viewport()->update();
  PrepareSearch(FrameTemplate);
  SendFrame(FrameTemplate.data(), frame::kSearchLength);
  selectedRow = -1;
}

void CMainDlg::OnModuleRecord() {
  AddModuleRecord(moduleList_->table(), managementSocket.receiveBuffer.data(),
                  managementSocket.receivedLength);
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
  if (fileJobRunning)
    platform_.prompter.Message(
        QString::asprintf(" Upgrade process is running to %s", selectedAddress.toLocal8Bit().constData()));
  else
    selectedModuleIp = selectedAddress;
  selectedModuleType = moduleList_->GetItemText(row, kColType);
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
    case AnswerRoute::Silent:
      break;
    case AnswerRoute::ModuleRecord:
      OnModuleRecord();
      break;
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
      // The MAC writer works on a copy of a request's size; anything longer
      // than that is no answer of its and is cut.
      std::array<std::uint8_t, kMacWriteCopyLength> copy{};
      const std::size_t length = std::min<std::size_t>(managementSocket.receivedLength, copy.size());
      std::copy_n(frame, length, copy.begin());
      if (OnMacWriteAnswer) OnMacWriteAnswer(copy.data(), length);
      break;
    }
    case AnswerRoute::SearchAgain:
      // A module that came back from its defaults: no test of a running job.
      StartSearch();
      break;
  }
}

void CMainDlg::ShowAboutBox() {
  QDialog box(this);
  Ui::AboutDialog about;
  about.setupUi(&box);
  about.iconLabel->setPixmap(TorvekIcon().pixmap(32, 32));
  platform_.prompter.RunDialog(box);
}

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
  if (watched == commandList_->viewport() && event->type() == QEvent::MouseButtonRelease) {
    const auto* mouse = static_cast<QMouseEvent*>(event);
    if (!commandList_->indexAt(mouse->position().toPoint()).isValid())
      commandList_->clearSelection();
    OnCommandListClick();
  }
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
  managementSocket.ShutDown(CNotifySocket::kShutSends);
  if (managementSocket.IsOpen()) platform_.clock.WaitOnUiThread(100);
  managementSocket.Close();
  CloseSerial();
  // The last texts of the run still reach the log file.
  if (consolePage) consolePage->FlushOutput();
}

// The command list.

bool CMainDlg::LoadCommandList(const QString& path) {
  commandList_->DeleteAllRows();
  // Read and write: a write-protected file counts as missing.
  QFile file(path);
  if (!file.open(QIODevice::ReadWrite | QIODevice::ExistingOnly)) return false;
  const QByteArray content = file.readAll();
  file.close();
  const std::vector<CommandFields> rows =
      ParseCommandList(std::string_view(content.constData(), static_cast<std::size_t>(content.size())));
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const int row = static_cast<int>(i);
    commandList_->InsertRow(row, QString::number(row + 1));
    for (int c = 0; c < 3; ++c)
      commandList_->SetCellText(row, c + 1, QString::fromLocal8Bit(rows[i][static_cast<std::size_t>(c)]));
  }
  commandList_->model().FlushRows();
  if (!rows.empty())
    commandList_->selectionModel()->setCurrentIndex(commandList_->model().index(0, 0),
                                                    QItemSelectionModel::NoUpdate);
  selectedRow = -1;
  return true;
}

void CMainDlg::OnCommandListClick() {
  ReadUseLanIp();
  commandList_->viewport()->update();
  if (commandList_->SelectedRow() < 0) {
    selectedRow = -1;
    return;
  }
  const int row = commandList_->currentIndex().row();
  consolePage->SetInputText(commandList_->GetItemText(row, 2));
  if (commandRow != -1) MarkCommandRow(commandRow, false);
  commandRow = row;
}

int CMainDlg::NextCommandRow(int& count, int& row) {
  const int rows = commandList_->RowCount();
  if (rows == 0) return 0;
  if (commandRow == -1)
    commandRow = 0;
  else
    MarkCommandRow(commandRow, false);
  if (previousCommandRow != -1) MarkCommandRow(previousCommandRow, false);
  MarkCommandRow(commandRow, true);
  consolePage->SetInputText(commandList_->GetItemText(commandRow, 2));
  count = rows;
  row = commandRow;
  previousCommandRow = commandRow;
  commandRow = (commandRow + 1) % rows;

  // While the next row lies below the visible part, the picture moves on by
  // one row; it is never moved back after the wrap.
  const int rowHeight = commandList_->rowHeight(0);
  if (commandRow * rowHeight > commandList_->height()) {
    QScrollBar* bar = commandList_->verticalScrollBar();
    bar->setValue(bar->value() +
                  (commandList_->verticalScrollMode() == QAbstractItemView::ScrollPerItem
                       ? 1
                       : rowHeight));
  }
  return 1;
}

void CMainDlg::MarkCommandRow(int row, bool on) {
  if (row < 0 || row >= commandList_->RowCount()) return;
  for (int c = 0; c < kCommandColumns; ++c)
    commandList_->SetCellBackground(row, c, on ? kMarkRed : kWhite);
  if (on)
    commandList_->selectionModel()->select(commandList_->model().index(row, 0),
                                           QItemSelectionModel::Deselect |
                                               QItemSelectionModel::Rows);
  commandList_->viewport()->update();
}

// The shortcuts.

bool CMainDlg::HaveSelectedModule() {
  if (selectedRow != -1) return true;
  platform_.prompter.Message(" Select system at the List");
  return false;
}

QString CMainDlg::ShortcutAddress() {
  ReadUseLanIp();
  return AddressOfRow(selectedRow);
}

void CMainDlg::OnPingTest() {
  if (moduleList_->RowCount() == 1)
    selectedRow = 0;
  else if (!HaveSelectedModule())
    return;
  platform_.launcher.StartInTerminal({"ping", ShortcutAddress()});
}

void CMainDlg::OnOpenTelnet() {
  if (!HaveSelectedModule()) return;
  platform_.launcher.StartInTerminal({"telnet", ShortcutAddress()});
}

void CMainDlg::OnOpenWebBrowser() {
  if (!HaveSelectedModule()) return;
  const QString address = ShortcutAddress();
  // The port follows the choice of address, not the address itself.
  platform_.launcher.OpenUrl(
      QUrl(useLanIp ? "http://" + address : "http://" + address + ":8080"));
}

void CMainDlg::OnDosCommand() { platform_.launcher.StartInTerminal({}); }

// The serial line.

void CMainDlg::OnSerialSetup() {
  CSerialSetupDlg dialog(serialConfig, programDir, this);
  if (platform_.prompter.RunDialog(dialog) != QDialog::Accepted) return;
  serialConfig = dialog.Chosen();
  SaveSerialConfig(serialConfigPath);
}

void CMainDlg::OnSerialSwitch(int open) {
  SaveSerialConfig(serialConfigPath);
  if (open)
    OpenSerial();
  else
    CloseSerial();
}

void CMainDlg::ShowFailures(const QStringList& textAndTitle) {
  for (int i = 0; i + 1 < textAndTitle.size(); i += 2)
    platform_.prompter.Message(textAndTitle[i], textAndTitle[i + 1]);
}

void CMainDlg::OpenSerial() {
  if (!LoadSerialConfig(serialConfigPath)) {
    platform_.prompter.Message(
        "No Serial Data confige, Setup Serial port at the Serial tab page : config");
    return;
  }
  // A second open brings the line up again with the settings of now.
  CloseSerial();

  auto* thread = new QThread;
  thread->setObjectName("serial reader");
  Clock& clock = platform_.clock;
  auto* reader = new SerialReader(upgradeActive, [&clock] { return clock.TickMs(); });
  reader->moveToThread(thread);
  connect(thread, &QThread::finished, reader, &QObject::deleteLater);
  thread->start();

  QStringList failures;
  int opened = 0;
  const SerialConfig config = serialConfig;
  const QString dir = programDir;
  QMetaObject::invokeMethod(
      reader, [&] { opened = reader->Open(config, dir, failures); },
      Qt::BlockingQueuedConnection);
  ShowFailures(failures);
  if (!opened) {
    thread->quit();
    thread->wait();
    delete thread;
    serialHandle_ = SerialHandle::Invalid;
    platform_.prompter.Message("Check Serial port and other properities");
    return;
  }
  serialHandle_ = SerialHandle::Open;
  serialThread_ = thread;
  serialReader_ = reader;
  const std::uint64_t session = ++serialSession_;
  // For the console, texts are taken a few milliseconds after the first of a
  // batch: a fast line then wakes the UI thread about a hundred times a
  // second, not once per read, and nobody sees the delay. A script gets its
  // chunks at once.
  connect(reader, &SerialReader::TextsReady, this, [this, session] {
    if (upgradeActive)
      OnSerialTexts(session);
    else
      QTimer::singleShot(10, this, [this, session] { OnSerialTexts(session); });
  }, Qt::QueuedConnection);
}

void CMainDlg::CloseSerial() {
  ++serialSession_;  // whatever the old reader still has queued is dropped
  if (!serialThread_) return;
  SerialReader* reader = serialReader_;
  QMetaObject::invokeMethod(reader, [reader] { reader->Close(); }, Qt::BlockingQueuedConnection);
  serialThread_->quit();
  serialThread_->wait();
  delete serialThread_;
  serialThread_ = nullptr;
  serialReader_ = nullptr;
  serialHandle_ = SerialHandle::Closed;
}

void CMainDlg::OnSerialTexts(std::uint64_t session) {
  if (session != serialSession_ || !serialReader_) return;
  const QList<SerialText> texts = serialReader_->TakeTexts();
  for (const SerialText& t : texts) FeedSerialText(0, t.text, t.tick);
}

void CMainDlg::FeedSerialText(int direction, const QByteArray& text, std::int64_t tick) {
  if (upgradeActive) {
    if (upgraderSerialSink) upgraderSerialSink(direction, text, static_cast<int>(text.size()));
    return;
  }
  lastTextTick = tick < 0 ? platform_.clock.TickMs() : tick;
  if (consolePage) consolePage->OnSerialText(direction, text);
}

void CMainDlg::SendSerialText(const QByteArray& text) {
  FeedSerialText(1, text);
  lastSendTick = platform_.clock.TickMs();
  if (serialHandle_ == SerialHandle::Invalid) {
    // Only a write of a whole text says so; a single byte goes nowhere quietly.
    if (!text.isEmpty()) platform_.prompter.Message("Invalid handle");
    return;
  }
  if (!serialReader_) return;  // closed: the count would be 0
  const QByteArray bytes = text.isEmpty() ? QByteArray(1, '\n') : text;
  SerialReader* reader = serialReader_;
  QMetaObject::invokeMethod(reader, [reader, bytes] { reader->Write(bytes); },
                            Qt::QueuedConnection);
}

bool CMainDlg::SaveSerialConfig(const QString& path) {
  return torvek::SaveSerialConfig(path.toStdString(), serialConfig);
}

bool CMainDlg::LoadSerialConfig(const QString& path) {
  return torvek::LoadSerialConfig(path.toStdString(), serialConfig);
}

}  // namespace torvek
