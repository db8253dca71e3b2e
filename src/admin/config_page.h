// The first page, "IP ": the selected module's settings, the LAN settings
// request, the buttons of the file and reboot operations, and this PC's own
// addresses.
#pragma once

#include <QStringList>
#include <QWidget>
#include <memory>

namespace Ui {
class ConfigPage;
}

namespace torvek {

class CMainDlg;
class CIpAddressCtrl;

class CConfigPage : public QWidget {
  Q_OBJECT
 public:
  explicit CConfigPage(CMainDlg& main, QWidget* parent = nullptr);
  ~CConfigPage() override;

  void OnInitDialog();
  // Copies a row of the module list, given as its column texts.
  void ShowSettings(const QStringList& columns);
  void OnSet();
  void OnRefresh();
  // Writes the Operation Status line.
  void SetOperationStatus(const QString& text);
  QString OperationStatus() const;
  // True when the file may be sent as this kind of image for this model; on
  // false the operator has been told.
  bool CheckImageFile(int model, int operation, QString path);

 private:
  CMainDlg& main_;
  std::unique_ptr<Ui::ConfigPage> ui_;
};

}  // namespace torvek
