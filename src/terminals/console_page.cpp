#include "terminals/console_page.h"

#include <QKeyEvent>

#include "controls/log_box.h"
#include "core/daily_log.h"
#include "core/latin1_text.h"
#include "platform/platform.h"
#include "terminals/console_host.h"
#include "terminals/serial_line.h"
#include "ui_console_page.h"

namespace torvek {

CConsolePage::CConsolePage(const ConsoleLinks& links, QWidget* parent)
    : QWidget(parent), links_(links), ui_(std::make_unique<Ui::ConsolePage>()) {
  ui_->setupUi(this);
  setObjectName("console_page");
  for (int row = 0; row < kIntervalRows; ++row)
    ui_->intervalCombo->addItem(QString::fromStdString(IntervalText(row)));
  ui_->intervalCombo->setCurrentIndex(9);
  ui_->terminatorCombo->addItems({"no add", "add 0a", "add 0d", "add 0a&0d"});
  ui_->terminatorCombo->setCurrentIndex(0);

  connect(ui_->serialOpenButton, &QPushButton::clicked, this, &CConsolePage::OnSerialPortOpen);
  connect(ui_->sendButton, &QPushButton::clicked, this, &CConsolePage::OnSend);
  connect(ui_->loadDataButton, &QPushButton::clicked, this, &CConsolePage::OnLoadData);
  connect(ui_->clearBufferButton, &QPushButton::clicked, this, &CConsolePage::OnClearBuffer);
  connect(ui_->logViewerButton, &QPushButton::clicked, this, &CConsolePage::OnLogViewer);

  // The box and the file catch up at most every 20 ms: a fast line then costs
  // one insert per stretch instead of one per read, and nobody sees the delay.
  flushTimer_.setSingleShot(true);
  flushTimer_.setInterval(20);
  connect(&flushTimer_, &QTimer::timeout, this, &CConsolePage::FlushOutput);

  autoSendCount = 0;
  autoSendTimer_.setInterval(100);
  connect(&autoSendTimer_, &QTimer::timeout, this, &CConsolePage::OnAutoSendTick);
  autoSendTimer_.start();
  links_.line.serialOpen = false;
}

CConsolePage::~CConsolePage() = default;

void CConsolePage::OnSerialText(int direction, const QByteArray& text) {
  WriteReceivedToLog(text);
  // Only a stamped text needs the time.
  QTime now;
  if (direction == 1 || text.contains('<')) now = links_.platform.clock.LocalNow().time();
  // A module that crashed says so on its console: one beep, until the
  // operator clears the buffer, in case nobody is looking at the box.
  if (box_.Append(
          ConsoleDisplayText(direction, ByteView(text), now.hour(), now.minute(), now.second())))
    links_.platform.beeper.Beep();
  if (!flushTimer_.isActive()) flushTimer_.start();
}

void CConsolePage::WriteReceivedToLog(const QByteArray& text) {
  const auto entry = ReceivedLogText(ByteView(text), ByteView(lastSentText),
                                     links_.line.lastTextTick - links_.line.lastSendTick);
  if (entry) pendingLog_.append(entry->data(), static_cast<qsizetype>(entry->size()));
}

void CConsolePage::FlushOutput() {
  flushTimer_.stop();
  if (!pendingLog_.isEmpty()) {
    AppendConsoleLog(links_.program.dailyLogPath, pendingLog_);
    pendingLog_.clear();
  }
  CatchUpLogBox(*ui_->logBox, box_, Latin1Text);
}

void CConsolePage::SendConsoleLine() {
  if (!links_.line.serialOpen) return;
  const std::string line =
      BuildConsoleLine(InputText().toStdString(), ui_->terminatorCombo->currentIndex());
  const QByteArray bytes(line.data(), static_cast<qsizetype>(line.size()));
  lastSentText = bytes;
  pendingLog_.append(bytes);
  pendingLog_.append("  ");
  links_.line.Send(bytes);
}

void CConsolePage::SetInputText(const QString& text) { ui_->inputEdit->setText(text); }
QString CConsolePage::InputText() const { return ui_->inputEdit->text(); }

void CConsolePage::OnSend() {
  SendConsoleLine();
  ui_->inputEdit->clear();
}

void CConsolePage::OnSerialPortOpen() {
  bool& open = links_.line.serialOpen;
  links_.host.PostSerialSwitch(open ? 0 : 1);
  ui_->serialOpenButton->setText(open ? "Serial Port Open" : "Serial Port Close");
  open = !open;
}

void CConsolePage::OnClearBuffer() {
  box_.Clear();
  box_.crashTextSeen = false;
  ui_->logBox->clear();
  box_.emptiedSinceShown = false;
}

void CConsolePage::OnLogViewer() { links_.platform.launcher.OpenFile(links_.program.dailyLogPath); }

void CConsolePage::OnLoadData() {
  const QString path = links_.platform.prompter.OpenFileName("Load Data", "All file (*.txt *.*)",
                                                             links_.program.programDir);
  if (!path.isEmpty()) links_.host.LoadCommandList(path);
}

void CConsolePage::OnAutoSendTick() {
  if (++autoSendCount < IntervalTicks(ui_->intervalCombo->currentIndex())) return;
  if (ui_->autoSendCheck->isChecked()) {
    int count = 0;
    int row = 0;
    if (links_.host.NextCommandRow(count, row)) {
      SendConsoleLine();
      ui_->logPathLabel->setText(links_.program.dailyLogPath);
    }
  }
  autoSendCount = 0;
}

void CConsolePage::keyPressEvent(QKeyEvent* event) {
  switch (event->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter: OnSend(); return;
    default: QWidget::keyPressEvent(event);
  }
}

}  // namespace torvek
