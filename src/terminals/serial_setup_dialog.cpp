#include "terminals/serial_setup_dialog.h"

#include "ui_serial_setup_dialog.h"

namespace torvek {

namespace {
int RowOrDefault(std::uint32_t row, std::uint32_t rows, std::uint32_t fallback) {
  return static_cast<int>(row < rows ? row : fallback);
}
}  // namespace

CSerialSetupDlg::CSerialSetupDlg(const SerialConfig& config, const QString& programDir,
                                 QWidget* parent)
    : QDialog(parent), ui_(std::make_unique<Ui::SerialSetupDialog>()), programDir_(programDir),
      reserved_(config.reserved) {
  ui_->setupUi(this);
  setFixedSize(size());
  for (int row = 0; row < kPortRows; ++row)
    ui_->portCombo->addItem(QString::fromStdString(PortName(static_cast<std::uint32_t>(row))));
  for (std::uint32_t baud : kBaudTable) ui_->baudCombo->addItem(QString::number(baud));
  for (int bits : kDataBitsTable) ui_->dataBitsCombo->addItem(QString::number(bits));
  ui_->parityCombo->addItems({"no ", "odd", "even"});
  ui_->stopBitsCombo->addItems({"1 stop", "2 stop"});
  ui_->flowCombo->addItem("none");

  const SerialConfig defaults;
  ui_->portCombo->setCurrentIndex(static_cast<int>(PortRowInRange(config.port)));
  ui_->baudCombo->setCurrentIndex(RowOrDefault(config.baud, kBaudTable.size(), defaults.baud));
  ui_->dataBitsCombo->setCurrentIndex(
      RowOrDefault(config.dataBits, kDataBitsTable.size(), defaults.dataBits));
  ui_->parityCombo->setCurrentIndex(RowOrDefault(config.parity, 3, defaults.parity));
  ui_->stopBitsCombo->setCurrentIndex(RowOrDefault(config.stopBits, 2, defaults.stopBits));
  ui_->flowCombo->setCurrentIndex(0);
  ShowDevice(ui_->portCombo->currentIndex());
  connect(ui_->portCombo, &QComboBox::currentIndexChanged, this, &CSerialSetupDlg::ShowDevice);
  connect(ui_->okButton, &QPushButton::clicked, this, &QDialog::accept);
  connect(ui_->cancelButton, &QPushButton::clicked, this, &QDialog::reject);
}

CSerialSetupDlg::~CSerialSetupDlg() = default;

SerialConfig CSerialSetupDlg::Chosen() const {
  SerialConfig config;
  config.port = static_cast<std::uint32_t>(ui_->portCombo->currentIndex());
  config.baud = static_cast<std::uint32_t>(ui_->baudCombo->currentIndex());
  config.dataBits = static_cast<std::uint32_t>(ui_->dataBitsCombo->currentIndex());
  config.stopBits = static_cast<std::uint32_t>(ui_->stopBitsCombo->currentIndex());
  config.parity = static_cast<std::uint32_t>(ui_->parityCombo->currentIndex());
  config.reserved = reserved_;
  return config;
}

void CSerialSetupDlg::ShowDevice(int portRow) {
  const auto device =
      SerialDevicePath(static_cast<std::uint32_t>(portRow), programDir_.toStdString());
  ui_->deviceLabel->setText(device ? QString::fromStdString(*device) : QString("no device"));
}

}  // namespace torvek
