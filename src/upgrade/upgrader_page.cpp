#include "upgrade/upgrader_page.h"

#include <QCoreApplication>
#include <QPointer>
#include <algorithm>

#include "controls/log_box.h"
#include "core/latin1_text.h"
#include "core/notify_socket.h"
#include "platform/platform.h"
#include "terminals/console_host.h"
#include "terminals/serial_line.h"
#include "ui_upgrader_page.h"

namespace torvek {

namespace {

constexpr int kBreakInTimer = 1002;
constexpr int kBreakInPeriodMs = 250;
constexpr qsizetype kScriptSendBufferSize = 1024;

const char* const kHelpLines[] = {
    "How to Upgrader ?",
    " 0.IP change is not needed in host pc and module",
    " 1.Connect LAN cable and Serial cable",
    " 2.Set serial bardrate 38400 at torvek named config button",
    " 3.Run tftp program and set the file path",
    " 4.Press Serial Open button",
    " 5.Press Start button",
    " 6.System(EVB) Power on",
    " 7.Wait for 10 seconds with old loader/1 seconds with new loader",
    " 8.Check working status at the bottom and text output window",
    "--------------------------------------- ",
    "Caution. ",
    " -Disable windows firewall.",
    " -Disable private firewall.",
    " -Check LAN connection and Serial connection.",
    " -b/g module only; after upgrading,system is automatically reboot",
};

// The row labels' file names by target.
const char* const kRowFiles[2][kImageCount] = {
    {"ap61.rom", "sqfs.ap61.bin", "vmlinux.ap61.bin.l7", "wbp.GENERIC.KRL5506.gw.bin",
     "cfg.GENERIC.KRL5506.gw.bin"},
    {"loader.bin", "", "kernel.bin", "", "config.bin"},
};

// What a PC without a usable address shows instead of one.
constexpr const char* kNoPcAddress = "no PC address";
constexpr const char* kNoModuleAddress = "unknown (no PC address)";

}  // namespace

CUpgraderPage::CUpgraderPage(const UpgraderLinks& links, QWidget* parent)
    : QWidget(parent), links_(links), ui_(std::make_unique<Ui::UpgraderPage>()),
      runner_(ScriptHost{
          [this](const QByteArray& text) { SendScriptCommand(text); },
          [this](int id, const QString& text) { SetLabel(id, text); },
          [this] { breakInTimer_.stop(); },
          [this] { links_.platform.beeper.Beep(); },
          [this] { EndUpgrade(); },
      }) {
  ui_->setupUi(this);
  setObjectName("upgrader_page");
  ui_->targetCombo->addItems({"ORB730_WI-atheros", "ORB740_WI-ralink"});
  ui_->targetCombo->setCurrentIndex(0);
  ui_->progressBar->setRange(0, 1);
  ui_->progressBar->setValue(0);

  connect(ui_->targetCombo, &QComboBox::currentIndexChanged, this, &CUpgraderPage::OnTargetChange);
  connect(ui_->startButton, &QPushButton::clicked, this, &CUpgraderPage::StartUpgrade);
  connect(ui_->stopButton, &QPushButton::clicked, this, &CUpgraderPage::EndUpgrade);
  connect(ui_->tftpButton, &QPushButton::clicked, this, &CUpgraderPage::RunTftpServer);
  connect(ui_->serialOpenButton, &QPushButton::clicked, this, &CUpgraderPage::OnSerialOpen);

  breakInTimer_.setObjectName(QString::number(kBreakInTimer));
  breakInTimer_.setInterval(kBreakInPeriodMs);
  connect(&breakInTimer_, &QTimer::timeout, this, &CUpgraderPage::OnBreakInTick);
  // The box catches up with the line at most every 20 ms; the script does not
  // wait for it.
  logTimer_.setSingleShot(true);
  logTimer_.setInterval(20);
  connect(&logTimer_, &QTimer::timeout, this, &CUpgraderPage::FlushLog);

  for (const char* line : kHelpLines) log_.Append(std::string(line) + "\r\n");
  FlushLog();
  // The line may outlive the page while the window comes down.
  links_.line.SetScriptSink(
      [page = QPointer<CUpgraderPage>(this)](int direction, const QByteArray& text, int length) {
        if (page) page->OnSerialText(direction, text, length);
      });
}

CUpgraderPage::~CUpgraderPage() = default;

QWidget* CUpgraderPage::Control(int id) const {
  if (controls_.isEmpty()) {
    for (QWidget* w : findChildren<QWidget*>())
      if (const int controlId = w->property("controlId").toInt(); controlId != 0)
        controls_.insert(controlId, w);
  }
  return controls_.value(id);
}

void CUpgraderPage::OnTargetChange(int row) {
  targetModule = row;
  const bool redBoot = row == 0;
  const int files = redBoot ? 0 : 1;
  for (int k = 0; k < kImageCount; ++k)
    if (redBoot || (k != kFileSystem && k != kWebPage))
      SetLabel(kImageRows[static_cast<std::size_t>(k)], kRowFiles[files][k]);
  // The hidden boxes keep their ticks.
  for (QWidget* w :
       {static_cast<QWidget*>(ui_->webPageCheck), static_cast<QWidget*>(ui_->fileSystemCheck),
        static_cast<QWidget*>(ui_->fileSystemRow), static_cast<QWidget*>(ui_->webPageRow)})
    w->setVisible(redBoot);
  ui_->kernelCheck->setText(redBoot ? "Linux Kernel" : "Kernel+App");
}

void CUpgraderPage::DeriveModuleIp(const QString& pcIp) {
  hostIp = pcIp;
  const auto module = ModuleIpOf(pcIp.toStdString());
  moduleIp = module ? QString::fromStdString(*module) : QString();
  ui_->hostIpLabel->setText(pcIp.isEmpty() ? kNoPcAddress : hostIp);
  ui_->moduleIpLabel->setText(module ? moduleIp : kNoModuleAddress);
}

void CUpgraderPage::OnSerialOpen() {
  bool& open = links_.line.serialOpen;
  links_.host.PostSerialSwitch(open ? 0 : 1);
  ui_->serialOpenButton->setText(open ? "Serial Open" : "Serial Close");
  open = !open;
}

void CUpgraderPage::StartUpgrade() {
  FlashRun run;
  const QCheckBox* boxes[kImageCount] = {ui_->bootLoaderCheck, ui_->fileSystemCheck,
                                         ui_->kernelCheck, ui_->webPageCheck, ui_->configFileCheck};
  for (int k = 0; k < kImageCount; ++k) run.ticked[k] = boxes[k]->isChecked() ? 1 : 0;
  if (!links_.line.serialOpen) {
    links_.platform.prompter.Message(" Open Serial Port");
    return;
  }
  // The hidden boxes count here too.
  if (std::none_of(run.ticked.begin(), run.ticked.end(), [](int t) { return t != 0; })) {
    links_.platform.prompter.Message(" check update factor at the check box");
    return;
  }
  breakInTimer_.start();
  run.moduleIp = moduleIp.toStdString();
  run.hostIp = hostIp.toStdString();
  // The progress bar counts the images this target writes.
  int images = 0;
  for (int k = 0; k < kImageCount; ++k)
    if (run.ticked[k] && (targetModule == 0 || (k != kFileSystem && k != kWebPage))) ++images;
  runner_.Start(targetModule, std::move(run));
  links_.line.upgradeActive = 1;
  log_.Clear();
  FlushLog();
  LockGroup(true);
  for (int id : kImageRows) SetLabel(id, "Ready");
  SetLabel(kStatusLabel, "Ready");
  ui_->startButton->setEnabled(false);
  imagesWritten_ = 0;
  ui_->progressBar->setRange(0, std::max(images, 1));
  ui_->progressBar->setValue(0);
}

void CUpgraderPage::EndUpgrade() {
  links_.line.upgradeActive = 0;
  runner_.Stop();
  LockGroup(false);
  ui_->startButton->setEnabled(true);
  breakInTimer_.stop();
  ui_->startButton->setFocus();
  FlushLog();
}

void CUpgraderPage::LockGroup(bool locked) {
  for (QWidget* w :
       {static_cast<QWidget*>(ui_->bootLoaderCheck), static_cast<QWidget*>(ui_->fileSystemCheck),
        static_cast<QWidget*>(ui_->kernelCheck), static_cast<QWidget*>(ui_->webPageCheck),
        static_cast<QWidget*>(ui_->configFileCheck), static_cast<QWidget*>(ui_->serialOpenButton),
        static_cast<QWidget*>(ui_->targetCombo)})
    w->setEnabled(!locked);
}

void CUpgraderPage::OnBreakInTick() {
  // A line that never opened answers each byte with a box; the ticks under
  // that box add none of their own.
  if (upgradeStep() != 0 || sending_) return;
  SendScriptCommand(QByteArray(1, BreakInByte(targetModule)));
}

void CUpgraderPage::SendScriptCommand(const QByteArray& text) {
  SetLabel(kStatusLabel, progressToggle_ ? "In Process : -> Waitint...+"
                                         : "In Process : ----------> Waitint...-");
  ScriptSendBuffer.push_back(text.left(kScriptSendBufferSize - 1));
  QCoreApplication::postEvent(this, new PrivateMessage(WM_SCRIPT_SEND, 0, 0));
  progressToggle_ = !progressToggle_;
}

bool CUpgraderPage::event(QEvent* event) {
  if (event->type() == PrivateMessage::TypeOf(WM_SCRIPT_SEND)) {
    if (!ScriptSendBuffer.empty()) {
      const QByteArray text = std::move(ScriptSendBuffer.front());
      ScriptSendBuffer.pop_front();
      sending_ = true;
      links_.line.Send(text);
      sending_ = false;
    }
    return true;
  }
  return QWidget::event(event);
}

void CUpgraderPage::OnSerialText(int direction, const QByteArray& text, int length) {
  // Sent and received text alike, unchanged; the box is emptied, not
  // trimmed, at 4096 lines. The whole dialogue of a run stays in it.
  log_.Append(ByteView(text.left(length)));
  if (!logTimer_.isActive()) logTimer_.start();
  if (direction == 0) runner_.OnChunk(text.left(length));
}

void CUpgraderPage::FlushLog() {
  logTimer_.stop();
  CatchUpLogBox(*ui_->logBox, log_, Latin1Text);
}

QString CUpgraderPage::LogText() const { return Latin1Text(log_.Text()); }

void CUpgraderPage::SetLabel(int id, const QString& text) {
  if (auto* label = qobject_cast<QLabel*>(Control(id))) label->setText(text);
  if (id != kStatusLabel && text == Latin1Text(kTextWritten))
    ui_->progressBar->setValue(++imagesWritten_);
  if (id == kStatusLabel && text == Latin1Text(kTextRebooting))
    ui_->progressBar->setValue(ui_->progressBar->maximum());
}

void CUpgraderPage::RunTftpServer() {
  // Beside the tool's own executable, whatever programDir became.
  links_.platform.launcher.StartProgram(QCoreApplication::applicationDirPath() + "/torvek-tftp",
                                        {});
}

}  // namespace torvek
