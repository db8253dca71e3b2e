#include "terminals/network_page.h"

#include <QIntValidator>
#include <QKeyEvent>

#include "controls/log_box.h"
#include "core/latin1_text.h"
#include "terminals/console_rules.h"
#include "ui_network_page.h"

namespace torvek {

namespace {
// Text the box takes in one turn.
constexpr std::size_t kFlushBytes = 16 * 1024;
}  // namespace

CNetworkPage::CNetworkPage(NetworkSession& session, QWidget* parent)
    : QWidget(parent), session_(session), ui_(std::make_unique<Ui::NetworkPage>()) {
  ui_->setupUi(this);
  setObjectName("network_page");
  ui_->protocolCombo->addItems({"UDP", "TCP"});
  ui_->protocolCombo->setCurrentIndex(kProtocolTcp);
  ui_->terminatorCombo->addItems({"no add", "add 0a", "add 0d", "add 0a&0d"});
  ui_->terminatorCombo->setCurrentIndex(0);
  // The interval rows are the Console page's.
  for (int row = 0; row < kIntervalRows; ++row)
    ui_->intervalCombo->addItem(QString::fromStdString(IntervalText(row)));
  ui_->intervalCombo->setCurrentIndex(9);
  ui_->remotePortEdit->setValidator(new QIntValidator(0, 99999, ui_->remotePortEdit));

  connect(ui_->connectButton, &QPushButton::clicked, this, &CNetworkPage::OnRemoteConnect);
  connect(ui_->sendButton, &QPushButton::clicked, this, &CNetworkPage::OnSend);
  connect(ui_->clearBufferButton, &QPushButton::clicked, this, &CNetworkPage::OnClearBuffer);
  connect(ui_->protocolCombo, &QComboBox::currentIndexChanged, this,
          &CNetworkPage::OnProtocolChange);

  // The box catches up at most every 20 ms: a fast stream then costs one
  // insert per stretch instead of one per chunk.
  flushTimer_.setSingleShot(true);
  flushTimer_.setInterval(20);
  connect(&flushTimer_, &QTimer::timeout, this, &CNetworkPage::FlushLog);

  session_.SetView(this);
  session_.log().emptiedSinceShown = true;
  FlushLog();

  autoSendTimer_.setInterval(100);
  connect(&autoSendTimer_, &QTimer::timeout, this, &CNetworkPage::OnAutoSendTick);
  autoSendTimer_.start();
}

CNetworkPage::~CNetworkPage() = default;

void CNetworkPage::OnRemoteConnect() {
  if (session_.remoteConnected)
    DisconnectRemote();
  else
    ConnectRemote();
}

void CNetworkPage::OnClearBuffer() {
  NetworkLog& log = session_.log();
  log.Clear();
  log.emptiedSinceShown = false;
  ui_->logBox->clear();
}

void CNetworkPage::OnProtocolChange() {
  ui_->broadcastCheck->setEnabled(ui_->protocolCombo->currentIndex() == kProtocolUdp);
}

void CNetworkPage::OnAutoSendTick() {
  if (AutoSendDue(autoSendCount, ui_->autoSendCheck->isChecked(), session_.remoteConnected != 0,
                  ui_->intervalCombo->currentIndex()))
    SendNetworkLine(false);
}

QString CNetworkPage::Displayed(std::string_view text) {
  // CR LF breaks a line and a lone CR shows nothing, as in the console box;
  // a received NUL shows as the symbol for NUL, and the text after it shows too.
  QString shown = Latin1Text(text);
  shown.remove(QChar('\r'));
  shown.replace(QChar(0), QChar(0x2400));
  return shown;
}

void CNetworkPage::FlushLog() {
  flushTimer_.stop();
  // A flood is shown a stretch per turn, so that the box never holds the UI
  // thread for long; what an emptying drops is never shown at all.
  if (CatchUpLogBox(*ui_->logBox, session_.log(), Displayed, kFlushBytes)) flushTimer_.start();
}

NetworkControls CNetworkPage::ReadControls() {
  return {ui_->protocolCombo->currentIndex(), ui_->remotePortEdit->text(),
          ui_->terminatorCombo->currentIndex(), ui_->broadcastCheck->isChecked(),
          ui_->inputEdit->text()};
}

void CNetworkPage::ShowConnectButton(const QString& text, bool enabled) {
  if (!text.isNull()) ui_->connectButton->setText(text);
  ui_->connectButton->setEnabled(enabled);
}

void CNetworkPage::ClearInput() { ui_->inputEdit->clear(); }

void CNetworkPage::LogChanged() {
  if (!flushTimer_.isActive()) flushTimer_.start();
}

void CNetworkPage::keyPressEvent(QKeyEvent* event) {
  switch (event->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter: OnSend(); return;
    default: QWidget::keyPressEvent(event);
  }
}

}  // namespace torvek
