#include "production/mac_writer_page.h"

#include <QSignalBlocker>

#include <QKeyEvent>

#include "controls/status_label.h"
#include "core/module_directory.h"
#include "platform/platform.h"
#include "production/mac_setup_dialog.h"
#include "ui_mac_writer_page.h"

namespace torvek {

namespace {

constexpr int kScannedMacBox = 1008;
constexpr int kScannedSerialBox = 1009;

// The barcode as the checks read it: a character outside ASCII is no digit.
std::string ScannedBytes(const QString& text) {
  std::string bytes;
  bytes.reserve(static_cast<std::size_t>(text.size()));
  for (QChar c : text) bytes += c.unicode() < 0x80 ? static_cast<char>(c.unicode()) : '?';
  return bytes;
}

}  // namespace

CMacWriterPage::CMacWriterPage(MacWriterLinks links, QWidget* parent)
    : QWidget(parent), links_(std::move(links)), ui_(std::make_unique<Ui::MacWriterPage>()) {
  ui_->setupUi(this);
  setObjectName("mac_writer_page");
  session_ = std::make_unique<MacWriterSession>(links_);
  connect(session_.get(), &MacWriterSession::ReportStatus, this, &CMacWriterPage::ReportStatus);

  connect(ui_->macWriteButton, &QPushButton::clicked, this, &CMacWriterPage::OnMacWrite);
  // The mode follows the checked state, however it was set (a click, the
  // keyboard, an accessible action), and a click on the checked mode still
  // counts as choosing it.
  for (auto [radio, choose] : {std::pair{ui_->barcodeModeRadio, &CMacWriterPage::OnBarcodeMode},
                               std::pair{ui_->manualModeRadio, &CMacWriterPage::OnManualMode}}) {
    connect(radio, &QRadioButton::clicked, this, choose);
    connect(radio, &QRadioButton::toggled, this, [this, choose = choose](bool checked) {
      if (checked) (this->*choose)();
    });
  }
  connect(ui_->macSetupButton, &QPushButton::clicked, this, &CMacWriterPage::OnMacSetup);
  connect(ui_->logViewerButton, &QPushButton::clicked, this, &CMacWriterPage::OnLogViewer);
  connect(ui_->makeLabelButton, &QPushButton::clicked, this, &CMacWriterPage::OnMakeLabel);

  // A barcode reader types into the boxes: a whole code moves the focus on,
  // so one scan after the other ends on "Mac Write", where Enter writes.
  connect(ui_->scannedMacEdit, &QLineEdit::textChanged, this, [this](const QString& text) {
    if (text.size() == 12) ui_->scannedSerialEdit->setFocus();
  });
  connect(ui_->scannedSerialEdit, &QLineEdit::textChanged, this, [this](const QString& text) {
    if (text.size() == 13) ui_->macWriteButton->setFocus();
  });
  ui_->scannedMacEdit->installEventFilter(this);
  ui_->scannedSerialEdit->installEventFilter(this);
}

CMacWriterPage::~CMacWriterPage() = default;

CStatusLabel& CMacWriterPage::statusLabel() { return *ui_->statusLabel; }

void CMacWriterPage::OnInitDialog() {
  {
    // Checked without the mode's reaction: the boxes stay enabled until the
    // operator chooses a mode.
    const QSignalBlocker quiet(ui_->manualModeRadio);
    ui_->manualModeRadio->setChecked(true);
  }
  writeMode = kManualMode;
  session_->LoadMacData();
  RefreshMacBytes();
  RefreshMacTexts();
  instructionsText = QString::fromStdString(MacWriterInstructions());
  UpdateData(false);
  ui_->statusLabel->SetTextColor(0x000000).SetFontUnderline(true).SetFontSize(10).SetBkColor(
      0xFFFFFF);
  ui_->labelStepCombo->setCurrentIndex(0);
  // The template's labels open links through the platform, should they be made links.
  ui_->statusLabel->SetLauncher(&links_.platform.launcher);
  ui_->currentWifiMacLabel->SetLauncher(&links_.platform.launcher);
}

bool CMacWriterPage::eventFilter(QObject* watched, QEvent* event) {
  auto* box = qobject_cast<QLineEdit*>(watched);
  if (box && event->type() == QEvent::FocusIn) {
    // A box is emptied whenever it gets the focus, whoever moved it there.
    box->clear();
  } else if (box && event->type() == QEvent::KeyPress) {
    // A full box that is typed into hands the focus on, as at its limit.
    const auto* key = static_cast<QKeyEvent*>(event);
    if (!key->text().isEmpty() && key->text()[0].isPrint() && !box->hasSelectedText() &&
        box->text().size() >= box->maxLength()) {
      (box == ui_->scannedMacEdit ? static_cast<QWidget*>(ui_->scannedSerialEdit)
                                  : ui_->macWriteButton)
          ->setFocus();
      return true;
    }
  }
  return QWidget::eventFilter(watched, event);
}

void CMacWriterPage::UpdateData(bool fromControls) {
  if (fromControls) {
    scannedMac = ui_->scannedMacEdit->text();
    scannedSerial = ui_->scannedSerialEdit->text();
    return;
  }
  // A box that is given its own text again hears no change, so the focus
  // stays where it is.
  if (ui_->scannedMacEdit->text() != scannedMac) ui_->scannedMacEdit->setText(scannedMac);
  if (ui_->scannedSerialEdit->text() != scannedSerial)
    ui_->scannedSerialEdit->setText(scannedSerial);
  ui_->companyIdLabel->setText(companyIdText);
  ui_->macIdLabel->setText(macIdText);
  if (ui_->statusLabel->text() != statusText) ui_->statusLabel->SetText(statusText);
  ui_->writtenMacLabel->setText(writtenMacText);
  ui_->writtenSerialLabel->setText(writtenSerialText);
  // Given again, the instructions would lose the operator's scroll position.
  QString shown = instructionsText;
  shown.replace("\r\n", "\n");
  if (ui_->instructionsEdit->toPlainText() != shown) ui_->instructionsEdit->setPlainText(shown);
}

void CMacWriterPage::OnBarcodeMode() {
  writeMode = kBarcodeMode;
  ui_->scannedMacEdit->setEnabled(true);
  ui_->scannedSerialEdit->setEnabled(true);
}

void CMacWriterPage::OnManualMode() {
  writeMode = kManualMode;
  ui_->scannedMacEdit->setEnabled(false);
  ui_->scannedSerialEdit->setEnabled(false);
}

void CMacWriterPage::OnMacWrite() {
  if (links_.modules.selectedRow == -1) {
    links_.platform.prompter.Message(
        "Module is not selected at the list, Please select module first!!!");
    return;
  }
  UpdateData(true);
  MacBytes newMac = session_->counter.Address();
  if (writeMode == kBarcodeMode) {
    const ScannedMac scanned = CheckScannedMac(ScannedBytes(scannedMac));
    if (scanned.check == ScanCheck::WrongLength) {
      ReportStatus(kStatusNoScan);
      return;
    }
    if (scanned.check == ScanCheck::NotHex) {
      links_.platform.prompter.Message(" Bar Code input error");
      return;
    }
    newMac = scanned.mac;
  }
  if (!session_->SendMacWrite(newMac, writeMode)) return;
  ReportStatus(kStatusWaiting);
}

void CMacWriterPage::OnMacWriteAnswer(const std::uint8_t* frame, std::size_t length) {
  switch (session_->TakeAnswer(frame, length)) {
    case MacAnswer::NotPending:
    case MacAnswer::OtherTarget: return;
    case MacAnswer::Failed: ReportStatus(frame[frame::kResult]); return;
    case MacAnswer::Written: break;
  }
  if (writeMode == kBarcodeMode) {
    AppendWriteLog(scannedMac, scannedSerial);
  } else {
    if (!SaveMacData(true)) return;
    // The byte forms still hold the address just written.
    AppendWriteLog(QString::fromStdString(LowerMacText(session_->counter.Address())), "no scan");
    RefreshMacBytes();
  }
  ReportStatus(kStatusWritten);
  ui_->scannedMacEdit->setFocus();
  RefreshMacTexts();
  session_->StartRebootTimer();
  UpdateData(false);
}

void CMacWriterPage::OnMacWriteAnswer(const QByteArray& answer) {
  OnMacWriteAnswer(reinterpret_cast<const std::uint8_t*>(answer.constData()),
                   static_cast<std::size_t>(answer.size()));
}

void CMacWriterPage::ReportStatus(int code) {
  const MacStatus status = StatusOf(code);
  for (int i = 0; i < status.beeps; ++i) {
    links_.platform.beeper.MessageBeep(status.beepType);
    links_.platform.clock.WaitOnUiThread(100);
  }
  statusText = QString::fromStdString(status.text);
  UpdateData(false);
  if (status.focusId == kScannedMacBox) ui_->scannedMacEdit->setFocus();
  if (status.focusId == kScannedSerialBox) ui_->scannedSerialEdit->setFocus();
}

void CMacWriterPage::AppendWriteLog(const QString& macText, const QString& serialText) {
  if (!session_->AppendLogLine(writeMode, macText, serialText)) ReportStatus(kStatusLogFailed);
  writtenMacText = macText;
  writtenSerialText = serialText;
  scannedMac.clear();
  scannedSerial.clear();
}

void CMacWriterPage::RefreshMacTexts() {
  companyIdText = QString::fromStdString(HyphenText(session_->counter.companyBytes));
  macIdText = QString::fromStdString(HyphenText(session_->counter.idBytes));
}

void CMacWriterPage::OnMacSetup() {
  CMacSetupDlg dialog(session_->counter, this);
  if (links_.platform.prompter.RunDialog(dialog) != QDialog::Accepted) return;
  RefreshMacBytes();
  RefreshMacTexts();
  SaveMacData(false);
  UpdateData(false);
}

void CMacWriterPage::OnLogViewer() {
  links_.platform.launcher.OpenFile(session_->LogPath(writeMode));
}

void CMacWriterPage::OnMakeLabel() { session_->MakeLabel(ui_->labelStepCombo->currentIndex() + 1); }

void CMacWriterPage::OnTimer(int id) {
  if (id == kRebootTimer) session_->OnRebootTimer();
}

}  // namespace torvek
