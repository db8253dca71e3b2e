// The one window of the tool: the module list on the left, seven pages on the
// right. It builds the services (the management link, the module directory,
// the serial line, the file jobs, the sessions) and the pages, connects them,
// and keeps the operations' names as forwarders to whoever carries them out.
#pragma once

#include <QByteArray>
#include <QDialog>
#include <QString>
#include <cstdint>
#include <memory>

#include "admin/config_page.h"
#include "admin/file_sender.h"
#include "admin/file_upload.h"
#include "app/command_list_panel.h"
#include "app/module_shortcuts.h"
#include "core/daily_log.h"
#include "core/management_link.h"
#include "core/module_directory.h"
#include "core/start_up_values.h"
#include "platform/platform.h"
#include "platform/queued_boxes.h"
#include "terminals/console_host.h"
#include "terminals/serial_line.h"

namespace Ui {
class MainDialog;
}

namespace torvek {

class CCellColorList;
class CConfigPage;
class CNetworkPage;
class CConsolePage;
class CUpgraderPage;
class CMacWriterPage;
class CRadioTestPage;
class CJigPage;
class FileDownload;
class JigSession;
class NetworkSession;

class CMainDlg : public QDialog, public ConsoleHost {
  Q_OBJECT
 public:
  explicit CMainDlg(Platform& platform, QWidget* parent = nullptr);
  ~CMainDlg() override;

  // Start-up, then the modal loop. Gives the dialog's result; a start-up that
  // ended the dialog never shows the window.
  int DoModal();
  bool OnInitDialog();
  bool EndedDuringStartUp() const { return endedDuringStartUp_; }

  // Management frames and the file job's blocks.
  bool SendFrame(std::uint8_t* frame, std::size_t length) { return link_.SendFrame(frame, length); }
  void StampFrame(std::uint8_t* frame, std::size_t length) { link_.StampFrame(frame, length); }
  bool SendFrameAndSearch(std::uint8_t* frame) { return link_.SendFrameAndSearch(frame); }
  bool SendFileFrame(const std::uint8_t* frame, std::size_t length) {
    return fileSender_->SendFileFrame(frame, length);
  }
  void PublishFileTargets() { fileSender_->PublishTargets(); }
  void PingAllModules() { fileUpload_->PingAllModules(); }

  // Discovery and the selection.
  void OnFindDevices() { link_.FindDevices(); }
  void StartSearch() { link_.StartSearch(); }
  int FindRowByMac(const QString& macText) const { return modules_.FindRowByMac(macText); }
  void SelectRow(int row);
  void OnUseLanIp();
  void ShowTab(int index);
  void ShowAboutBox();
  // What a config page is handed of the window.
  ConfigLinks ConfigPageLinks();

  // The command list and the shortcuts under the module list.
  bool LoadCommandList(const QString& path) override;
  int NextCommandRow(int& count, int& row) override { return commands_->NextRow(count, row); }
  void MarkCommandRow(int row, bool on) { commands_->MarkRow(row, on); }
  bool HaveSelectedModule() { return shortcuts_->HaveSelectedModule(); }
  void OnCommandListClick();
  void OnPingTest() { shortcuts_->OnPingTest(); }
  void OnOpenTelnet() { shortcuts_->OnOpenTelnet(); }
  void OnOpenWebBrowser() { shortcuts_->OnOpenWebBrowser(); }
  void OnDosCommand() { shortcuts_->OnDosCommand(); }

  // The serial line.
  void OnSerialSetup();
  void OnSerialSwitch(int open) { serialLine_->Switch(open); }
  void PostSerialSwitch(int open) override;
  void OpenSerial() { serialLine_->OpenWithSavedSettings(); }
  void CloseSerial() { serialLine_->Close(); }
  // `tick` is when a received text was read; -1 means now.
  void FeedSerialText(int direction, const QByteArray& text, std::int64_t tick = -1) {
    serialLine_->Feed(direction, text, tick);
  }
  void SendSerialText(const QByteArray& text) { serialLine_->Send(text); }
  bool SaveSerialConfig(const QString& path) { return serialLine_->SaveSettings(path); }
  bool LoadSerialConfig(const QString& path) { return serialLine_->LoadSettings(path); }
  bool SerialReaderRunning() const { return serialLine_->ReaderRunning(); }

  const StartUpValues startUp;
  Platform& platform() { return platform_; }
  ManagementLink& link() { return link_; }
  ModuleDirectory& modules() { return modules_; }
  CCellColorList& ModuleList() { return *moduleList_; }
  CCellColorList& commandList() { return *commandList_; }
  CommandListPanel& commands() { return *commands_; }
  SerialLine& serialLine() { return *serialLine_; }
  FileSender& fileSender() { return *fileSender_; }
  NetworkSession& networkSession() { return *networkSession_; }
  FileUpload& fileUpload() { return *fileUpload_; }
  FileDownload& fileDownload() { return *fileDownload_; }
  JigSession& jigSession() { return *jigSession_; }

  CConfigPage* configPage = nullptr;
  CNetworkPage* networkPage = nullptr;
  CConsolePage* consolePage = nullptr;
  CUpgraderPage* upgraderPage = nullptr;
  CMacWriterPage* macWriterPage = nullptr;
  CRadioTestPage* radioTestPage = nullptr;
  CJigPage* jigPage = nullptr;

 protected:
  bool event(QEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;
  void done(int result) override;

 private:
  void OnDestroy();
  void CreatePages();
  // Takes the Use LAN IP box into useLanIp.
  void ReadUseLanIp();

  Platform& platform_;
  std::unique_ptr<Ui::MainDialog> ui_;
  // The services come before the pages and go after them.
  ModuleDirectory modules_;
  ManagementLink link_{modules_};
  // The boxes the modules' answers ask for, one at a time.
  QueuedBoxes networkBoxes_{platform_.prompter, [this](const QString& line) {
                              AppendConsoleLog(startUp.dailyLogPath, line + "\n");
                            }};
  CCellColorList* moduleList_ = nullptr;
  CCellColorList* commandList_ = nullptr;
  std::unique_ptr<CommandListPanel> commands_;
  std::unique_ptr<ModuleShortcuts> shortcuts_;
  std::unique_ptr<SerialLine> serialLine_;
  std::unique_ptr<FileSender> fileSender_;
  std::unique_ptr<NetworkSession> networkSession_;
  std::unique_ptr<FileUpload> fileUpload_;
  std::unique_ptr<FileDownload> fileDownload_;
  std::unique_ptr<JigSession> jigSession_;
  bool endedDuringStartUp_ = false;
  bool destroyed_ = false;
};

}  // namespace torvek
