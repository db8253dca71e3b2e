#include "tftp_window.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QFileDialog>
#include <QFontDatabase>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QProgressBar>
#include <QSettings>
#include <QVBoxLayout>

#include "tftp_texts.h"

namespace tftpd {

namespace {

enum Column { kClient, kFile, kDirection, kSize, kProgress, kSpeed, kState, kColumns };

// Ended transfers stay in the table for a while; the log keeps them all.
constexpr int kMaxRows = 200;

QString SizeText(quint64 bytes) { return QString::fromStdString(torvek::tftp::SizeText(bytes)); }

}  // namespace

QString PrivilegeHint(const QString& program) {
  return QString(
             "Ports below 1024 need a privilege this program does not have. Grant it once "
             "with:\n  sudo setcap cap_net_bind_service=+ep %1\nor serve on another port.")
      .arg(program);
}

TftpWindow::TftpWindow(const ServerSettings& settings, QWidget* parent)
    : QWidget(parent), portLow_(settings.portLow), portHigh_(settings.portHigh) {
  setWindowTitle("torvek-tftp");
  resize(760, 520);

  auto* folderLabel = new QLabel("&Folder:");
  folderEdit_ = new QLineEdit(settings.root);
  folderEdit_->setObjectName("folderEdit");
  folderLabel->setBuddy(folderEdit_);
  browseButton_ = new QPushButton("&Browse...");
  auto* portLabel = new QLabel("&Port:");
  portSpin_ = new QSpinBox;
  portSpin_->setObjectName("portSpin");
  portSpin_->setRange(1, 65535);
  portSpin_->setValue(settings.port);
  portLabel->setBuddy(portSpin_);
  uploadsBox_ = new QCheckBox("allow uploads");
  uploadsBox_->setObjectName("uploadsBox");
  uploadsBox_->setChecked(settings.allowUploads);
  serveButton_ = new QPushButton("Serve");
  serveButton_->setObjectName("serveButton");
  statusLabel_ = new QLabel;
  statusLabel_->setObjectName("statusLabel");
  statusLabel_->setWordWrap(true);
  statusLabel_->setTextInteractionFlags(Qt::TextSelectableByMouse);
  privilegeLabel_ = new QLabel;
  privilegeLabel_->setObjectName("privilegeLabel");
  privilegeLabel_->setWordWrap(true);
  privilegeLabel_->setTextInteractionFlags(Qt::TextSelectableByMouse);
  privilegeLabel_->setStyleSheet("color: #a00000");
  otherPortButton_ = new QPushButton(QString("Serve on port %1").arg(kUnprivilegedPort));
  otherPortButton_->setObjectName("otherPortButton");
  privilegeLabel_->hide();
  otherPortButton_->hide();

  table_ = new QTableWidget(0, kColumns);
  table_->setObjectName("transfers");
  table_->setHorizontalHeaderLabels(
      {"Client", "File", "Direction", "Size", "Progress", "Speed", "State"});
  table_->setAccessibleName("Transfers");
  table_->setEditTriggers(QAbstractItemView::NoEditTriggers);
  table_->setSelectionBehavior(QAbstractItemView::SelectRows);
  table_->verticalHeader()->hide();
  table_->horizontalHeader()->setSectionResizeMode(kFile, QHeaderView::Stretch);
  table_->horizontalHeader()->setSectionResizeMode(kClient, QHeaderView::ResizeToContents);

  auto* logLabel = new QLabel("&Log:");
  log_ = new QPlainTextEdit;
  log_->setObjectName("log");
  log_->setReadOnly(true);
  log_->setMaximumBlockCount(10000);
  log_->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
  logLabel->setBuddy(log_);
  auto* clearButton = new QPushButton("&Clear log");
  clearButton->setObjectName("clearLogButton");

  auto* top = new QGridLayout;
  top->addWidget(folderLabel, 0, 0);
  top->addWidget(folderEdit_, 0, 1, 1, 3);
  top->addWidget(browseButton_, 0, 4);
  top->addWidget(portLabel, 1, 0);
  top->addWidget(portSpin_, 1, 1);
  top->addWidget(uploadsBox_, 1, 2);
  top->addWidget(serveButton_, 1, 4);
  top->setColumnStretch(3, 1);
  auto* privilegeRow = new QHBoxLayout;
  privilegeRow->addWidget(privilegeLabel_, 1);
  privilegeRow->addWidget(otherPortButton_);
  auto* logRow = new QHBoxLayout;
  logRow->addWidget(logLabel);
  logRow->addStretch();
  logRow->addWidget(clearButton);
  auto* layout = new QVBoxLayout(this);
  layout->addLayout(top);
  layout->addWidget(statusLabel_);
  layout->addLayout(privilegeRow);
  layout->addWidget(table_, 3);
  layout->addLayout(logRow);
  layout->addWidget(log_, 2);

  connect(browseButton_, &QPushButton::clicked, this, &TftpWindow::Browse);
  connect(serveButton_, &QPushButton::clicked, this, [this] {
    if (server_.Serving())
      StopServing();
    else
      StartServing();
  });
  connect(otherPortButton_, &QPushButton::clicked, this, [this] {
    portSpin_->setValue(kUnprivilegedPort);
    StartServing();
  });
  connect(uploadsBox_, &QCheckBox::toggled, this, [this](bool on) {
    server_.SetAllowUploads(on);
    Remember();
  });
  connect(clearButton, &QPushButton::clicked, log_, &QPlainTextEdit::clear);
  connect(&server_, &TftpServer::TransferStarted, this, &TftpWindow::OnStarted);
  connect(&server_, &TftpServer::TransferEnded, this, &TftpWindow::OnEnded);
  connect(&refresh_, &QTimer::timeout, this, &TftpWindow::Refresh);
  refresh_.start(250);
  ShowServing();
}

bool TftpWindow::StartServing() {
  const QString folder = folderEdit_->text().trimmed();
  if (folder.isEmpty()) {
    ShowFailure("Choose the folder to serve.", false);
    return false;
  }
  ServerSettings settings;
  settings.root = folder;
  settings.port = static_cast<quint16>(portSpin_->value());
  settings.allowUploads = uploadsBox_->isChecked();
  settings.portLow = portLow_;
  settings.portHigh = portHigh_;
  QString error;
  bool needsPrivilege = false;
  if (!server_.Start(settings, error, needsPrivilege)) {
    ShowFailure(error, needsPrivilege);
    return false;
  }
  Remember();
  AddLog(QString("serving %1 on port %2").arg(folder).arg(server_.Port()));
  ShowServing();
  return true;
}

void TftpWindow::StopServing() {
  server_.Stop();
  AddLog("stopped");
  ShowServing();
}

void TftpWindow::Browse() {
  const QString folder =
      QFileDialog::getExistingDirectory(this, "Folder to serve", folderEdit_->text());
  if (folder.isEmpty()) return;
  folderEdit_->setText(folder);
  if (server_.Serving()) StartServing();
  Remember();
}

void TftpWindow::ShowServing() {
  const bool serving = server_.Serving();
  serveButton_->setText(serving ? "Stop" : "Serve");
  folderEdit_->setReadOnly(serving);
  portSpin_->setEnabled(!serving);
  if (serving) {
    statusLabel_->setText(
        QString("Serving %1 on UDP port %2").arg(folderEdit_->text()).arg(server_.Port()));
    privilegeLabel_->hide();
    otherPortButton_->hide();
  } else if (statusLabel_->text().isEmpty() || statusLabel_->text().startsWith("Serving")) {
    statusLabel_->setText("Not serving.");
  }
}

void TftpWindow::ShowFailure(const QString& error, bool needsPrivilege) {
  statusLabel_->setText(error);
  AddLog(error);
  privilegeLabel_->setVisible(needsPrivilege);
  otherPortButton_->setVisible(needsPrivilege);
  if (needsPrivilege)
    privilegeLabel_->setText(PrivilegeHint(QCoreApplication::applicationFilePath()));
  ShowServing();
}

void TftpWindow::AddLog(const QString& line) {
  log_->appendPlainText(QDateTime::currentDateTime().toString("HH:mm:ss  ") + line);
}

void TftpWindow::OnStarted(const TransferView& view) {
  if (table_->rowCount() >= kMaxRows) {
    // The oldest ended row goes; running ones stay.
    for (int row = table_->rowCount() - 1; row >= 0; --row) {
      const bool running = std::any_of(rows_.begin(), rows_.end(),
                                       [row](const auto& entry) { return entry.second == row; });
      if (running) continue;
      table_->removeRow(row);
      for (auto& entry : rows_)
        if (entry.second > row) --entry.second;
      break;
    }
  }
  table_->insertRow(0);
  for (auto& entry : rows_) ++entry.second;
  for (int column = 0; column < kColumns; ++column)
    table_->setItem(0, column, new QTableWidgetItem);
  auto* bar = new QProgressBar;
  bar->setRange(0, 1000);
  table_->setCellWidget(0, kProgress, bar);
  rows_[view.id] = 0;
  FillRow(0, view);
}

void TftpWindow::OnEnded(const TransferView& view, const QString& line) {
  AddLog(line);
  const auto found = rows_.find(view.id);
  if (view.id == 0 || found == rows_.end()) return;  // refused requests show in the log only
  FillRow(found->second, view);
  rows_.erase(found);
}

void TftpWindow::Refresh() {
  for (const TransferView& view : server_.RunningTransfers()) {
    const auto found = rows_.find(view.id);
    if (found != rows_.end()) FillRow(found->second, view);
  }
}

void TftpWindow::FillRow(int row, const TransferView& view) {
  table_->item(row, kClient)->setText(view.client);
  table_->item(row, kFile)->setText(view.file);
  table_->item(row, kDirection)->setText(view.write ? "upload" : "download");
  table_->item(row, kSize)->setText(view.size > 0 || !view.write ? SizeText(view.size) : "?");
  if (auto* bar = qobject_cast<QProgressBar*>(table_->cellWidget(row, kProgress))) {
    const int permille =
        view.size > 0 ? static_cast<int>(std::min<quint64>(view.done * 1000 / view.size, 1000))
                      : (view.over && view.ok ? 1000 : 0);
    bar->setValue(permille);
  }
  table_->item(row, kSpeed)
      ->setText(QString::fromStdString(torvek::tftp::SpeedText(view.done, view.elapsedMs)));
  table_->item(row, kState)
      ->setText(!view.over ? "running"
                : view.ok  ? "done"
                           : "failed: " + view.reason);
}

void TftpWindow::Remember() const {
  QSettings settings;
  settings.setValue("folder", folderEdit_->text());
  settings.setValue("port", portSpin_->value());
  settings.setValue("allowUploads", uploadsBox_->isChecked());
}

}  // namespace tftpd
