// The first page, "IP ": the selected module's settings, the LAN settings
// request, the buttons of the file and reboot operations, and this PC's own
// addresses.
#pragma once

#include <QStringList>
#include <QTimer>
#include <QWidget>
#include <cstdint>
#include <memory>

namespace Ui {
class ConfigPage;
}

#include "core/management_frame.h"

namespace torvek {

class FileDownload;
class FileUpload;
class ManagementLink;
class ModuleDirectory;
struct Platform;

// Everything the page uses of the rest of the program.
struct ConfigLinks {
  Platform& platform;
  // Requests go out here; FrameTemplate, pcMac and fileJobRunning are read.
  ManagementLink& link;
  // The selection and the rows are read; a chosen row is shown.
  const ModuleDirectory& modules;
  FileUpload& upload;
  // downloadPath is set at start.
  FileDownload& download;
};

class CConfigPage : public QWidget {
  Q_OBJECT
 public:
  explicit CConfigPage(const ConfigLinks& links, QWidget* parent = nullptr);
  ~CConfigPage() override;

  void OnInitDialog();
  // Copies a row of the module list, given as its column texts.
  void ShowSettings(const QStringList& columns);
  // Shows the row the directory has just selected.
  void ShowSelectedModule();
  void OnSet();
  void OnRefresh();
  // Writes the Operation Status line.
  void SetOperationStatus(const QString& text);
  QString OperationStatus() const;
  // True when the file may be sent as this kind of image for this model; on
  // false the operator has been told.
  bool CheckImageFile(int model, int operation, QString path);

  // Set Configuration: a file into one module or many, or the company ID.
  void OnSetConfiguration();
  void StartFileJob(std::uint8_t command, const MacAddress& moduleMac, QString path, int all,
                    int model, int operation, int protocol);
  // Get Configuration: the configuration, system log or logo of the selected
  // module into a file.
  void OnGetConfiguration();
  // The status of a module's answer, flash progress included.
  void ShowModuleStatus(std::uint8_t result, std::uint32_t status, std::uint16_t seq);
  // Blocks sent of all blocks, while an upload runs and after it.
  int ProgressValue() const;
  int ProgressMaximum() const;

  // The guard of the operations that must not run beside an upload or on an
  // empty list; true when the operator has been told why not.
  bool ConfigPageBusy();
  // A short command, broadcast; all targets every module. parameter -1: none.
  void SendModuleCommand(std::uint8_t command, bool all, std::int32_t parameter);
  void OnModuleReboot();
  void OnFactoryDefault();
  // The company ID, once the Change system data dialog has chosen it as the
  // operation: asks which company and sends it to the chosen modules.
  void SendCompanyId(bool all);

  // This PC's address as Refresh found it last.
  QString pcIp;
  // The file the operator last picked for an upload.
  QString uploadPath;

 private:
  // The gate of the operations that need firmware 3 or later; true when the
  // operator has been told.
  bool VersionGateRefuses();
  // Reboot and factory default share their steps but for these texts.
  void SendShortCommand(std::uint8_t command, const QString& question, const QString& sentText);

  // Follows the sender's count while a job runs; the sender never waits for it.
  void ShowProgress();

  ConfigLinks links_;
  std::unique_ptr<Ui::ConfigPage> ui_;
  QTimer progressTimer_;
};

}  // namespace torvek
