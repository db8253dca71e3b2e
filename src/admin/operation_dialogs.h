// The small modal dialogs of the module operations: how many modules, which
// company ID, and the Change system data dialog that sets up a file job.
#pragma once

#include <QDialog>
#include <cstdint>
#include <memory>
#include <optional>

namespace Ui {
class HowManyDialog;
class CompanyIdDialog;
class GetOperationDialog;
class SystemDataDialog;
}  // namespace Ui

namespace torvek {

class Prompter;
class ModuleDirectory;

// "Selected module" (0) or "All modules" (1).
class CHowManyDlg : public QDialog {
  Q_OBJECT
 public:
  explicit CHowManyDlg(QWidget* parent = nullptr);
  ~CHowManyDlg() override;
  int choice = 0;

 protected:
  void accept() override;

 private:
  std::unique_ptr<Ui::HowManyDialog> ui_;
};

// The company table; the chosen row is the company ID.
class CCompanyIdDlg : public QDialog {
  Q_OBJECT
 public:
  explicit CCompanyIdDlg(QWidget* parent = nullptr);
  ~CCompanyIdDlg() override;
  int choice = 0;

 protected:
  void accept() override;

 private:
  std::unique_ptr<Ui::CompanyIdDialog> ui_;
};

// What a Get fetches: "System Configuration" (0), "System Log " (1) or
// "Company Logo File" (2).
class CGetOperationDlg : public QDialog {
  Q_OBJECT
 public:
  explicit CGetOperationDlg(QWidget* parent = nullptr);
  ~CGetOperationDlg() override;
  int choice = 0;

 protected:
  void accept() override;

 private:
  std::unique_ptr<Ui::GetOperationDialog> ui_;
};

class CSystemDataDlg : public QDialog {
  Q_OBJECT
 public:
  enum Operation { kFirmware = 0, kConfiguration = 1, kLogo = 2, kCompanyId = 3 };

  // Opens on the selection of now; a selected row whose type names no model
  // is told in a box, and leaves Module Type for the operator to choose.
  CSystemDataDlg(Prompter& prompter, const ModuleDirectory& selection, QWidget* parent = nullptr);
  ~CSystemDataDlg() override;

  // The four choices, -1 until OK stores them.
  int howManyModules = -1;
  int moduleType = -1;
  int operationType = -1;
  int communicationProtocol = -1;

  // The model code of the job; nothing when no Module Type was chosen.
  std::optional<std::uint16_t> JobModel() const;

  // Handler of the How Many Modules combo.
  void OnHowManyChanged();

 protected:
  void accept() override;

 private:
  void ReadChoices();
  void WriteChoices();

  Prompter& prompter_;
  const ModuleDirectory& selection_;
  std::unique_ptr<Ui::SystemDataDialog> ui_;
};

}  // namespace torvek
