// "Mac Address Setup": the operator types the next address in two halves of
// six hex digits. OK writes straight into the counter; a half that cannot be
// read keeps its old value.
#pragma once

#include <QDialog>
#include <memory>

#include "production/mac_records.h"

namespace Ui {
class MacSetupDialog;
}

namespace torvek {

class CMacSetupDlg : public QDialog {
  Q_OBJECT
 public:
  explicit CMacSetupDlg(MacCounter& counter, QWidget* parent = nullptr);
  ~CMacSetupDlg() override;

 protected:
  void accept() override;

 private:
  MacCounter& counter_;
  std::unique_ptr<Ui::MacSetupDialog> ui_;
};

}  // namespace torvek
