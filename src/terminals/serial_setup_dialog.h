// The serial settings dialog: rows of the combos go to and from SerialConfig.
#pragma once

#include <QDialog>
#include <memory>

#include "terminals/serial_config.h"

namespace Ui {
class SerialSetupDialog;
}

namespace torvek {

class CSerialSetupDlg : public QDialog {
  Q_OBJECT
 public:
  // Shows `config`; a row outside its combo shows the default row. The device
  // that the chosen port resolves to is looked up in `programDir` first.
  CSerialSetupDlg(const SerialConfig& config, const QString& programDir, QWidget* parent = nullptr);
  ~CSerialSetupDlg() override;

  // The rows chosen; the flow row is not part of the settings.
  SerialConfig Chosen() const;

 private:
  void ShowDevice(int portRow);

  std::unique_ptr<Ui::SerialSetupDialog> ui_;
  QString programDir_;
  std::uint32_t reserved_ = 0;
};

}  // namespace torvek
