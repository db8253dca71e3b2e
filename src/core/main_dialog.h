// The one window of the tool: the module list on the left, seven pages on the
// right. It owns the pages and the subsystems' controllers, routes the
// management socket's answers to them, and keeps the process-wide values
// under the names the pages know them by.
#pragma once

#include <QByteArray>
#include <QDialog>
#include <QString>
#include <cstdint>
#include <functional>
#include <memory>

#include "core/console_host.h"
#include "core/frame_sender.h"
#include "core/management_frame.h"
#include "core/notify_socket.h"
#include "core/process_values.h"
#include "platform/platform.h"

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
class CommandListPanel;
struct ConfigLinks;
class FileDownload;
class FileSender;
class FileUpload;
class JigSession;
class ModuleShortcuts;
class NetworkSession;
class SerialLine;

class CMainDlg : public QDialog,
                 public ProgramValues,
                 public Selection,
                 public FileJobFlags,
                 public SerialFields,
                 public CommandListState,
                 public FrameSender,
                 public SearchingSender,
                 public ConsoleHost {
  Q_OBJECT
 public:
  explicit CMainDlg(Platform& platform, QWidget* parent = nullptr);
  ~CMainDlg() override;

  // Start-up, then the modal loop. Gives the dialog's result; a start-up that
  // ended the dialog never shows the window.
  int DoModal();
  bool OnInitDialog();
  bool EndedDuringStartUp() const { return endedDuringStartUp_; }

  // Management frames.
  bool SendFrame(std::uint8_t* frame, std::size_t length) override;
  void StampFrame(std::uint8_t* frame, std::size_t length);
  // A request whose answer changes the list: send it and search again.
  bool SendFrameAndSearch(std::uint8_t* frame) override;
  // One block of a file job, by the job's settings; not stamped here. Safe on
  // the file sender's thread: it reads the targets that the UI thread
  // published, never the list. False when a send failed; the status line
  // tells it.
  bool SendFileFrame(const std::uint8_t* frame, std::size_t length);
  // Hands the sender the targets of the list, the selection and the Use LAN
  // IP box as they are now, by the job's flags. A job publishes before its
  // first block; while it runs, every change of those publishes again.
  void PublishFileTargets();
  // Pings every row (hidden, not waited for), then holds the UI thread 2 s so
  // that the modules' ARP entries are fresh before the first block.
  void PingAllModules();
  // Appends the data answer at hand to the download's file; its result.
  int StoreDownloadFrame(const QString& path, const char* mode);
  void OnUseLanIp();

  // Discovery and the selection.
  void OnFindDevices();
  void StartSearch() override;
  void OnModuleRecord();
  int FindRowByMac(const QString& macText) const;
  void SelectRow(int row);
  void ShowModuleSettings(int row);

  // What the config page is handed of the window.
  ConfigLinks ConfigPageLinks();
  void ShowTab(int index);
  void OnManagementNotify(long long wParam, long long lParam);
  void ShowAboutBox();

  // The command list and the shortcuts under the module list.
  bool LoadCommandList(const QString& path) override;
  int NextCommandRow(int& count, int& row) override;
  void MarkCommandRow(int row, bool on);
  bool HaveSelectedModule();
  void OnCommandListClick();
  void OnPingTest();
  void OnOpenTelnet();
  void OnOpenWebBrowser();
  void OnDosCommand();

  // The serial line.
  void OnSerialSetup();
  void OnSerialSwitch(int open);
  void PostSerialSwitch(int open) override;
  void OpenSerial();
  void CloseSerial();
  // `tick` is when a received text was read; -1 means now.
  void FeedSerialText(int direction, const QByteArray& text, std::int64_t tick = -1);
  void SendSerialText(const QByteArray& text);
  bool SaveSerialConfig(const QString& path);
  bool LoadSerialConfig(const QString& path);
  bool SerialReaderRunning() const;

  Platform& platform() { return platform_; }
  CCellColorList& ModuleList() { return *moduleList_; }
  CCellColorList& commandList() { return *commandList_; }
  SerialLine& serialLine() { return *serialLine_; }
  FileSender& fileSender() { return *fileSender_; }
  NetworkSession& networkSession() { return *networkSession_; }
  FileUpload& fileUpload() { return *fileUpload_; }
  FileDownload& fileDownload() { return *fileDownload_; }
  JigSession& jigSession() { return *jigSession_; }
  CNotifySocket managementSocket;

  CConfigPage* configPage = nullptr;
  CNetworkPage* networkPage = nullptr;
  CConsolePage* consolePage = nullptr;
  CUpgraderPage* upgraderPage = nullptr;
  CMacWriterPage* macWriterPage = nullptr;
  CRadioTestPage* radioTestPage = nullptr;
  CJigPage* jigPage = nullptr;

  // Answers whose handlers live with other pages; those pages put them here.
  // A MAC writer answer is a copy that is valid during the call only.
  std::function<void()> OnConfigAnswer;
  std::function<void()> OnLogoAnswer;
  std::function<void()> OnLogAnswer;
  std::function<void(const std::uint8_t* frame, std::size_t length)> OnMacWriteAnswer;

 protected:
  bool event(QEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;
  void done(int result) override;

 private:
  void OnDestroy();
  void CreatePages();
  void InsertListColumns();
  QString AddressOfRow(int row) const;
  // Takes the Use LAN IP box into useLanIp.
  void ReadUseLanIp();
  QString ShortcutAddress();

  Platform& platform_;
  std::unique_ptr<Ui::MainDialog> ui_;
  CCellColorList* moduleList_ = nullptr;
  CCellColorList* commandList_ = nullptr;
  std::unique_ptr<CommandListPanel> commands_;
  std::unique_ptr<ModuleShortcuts> shortcuts_;
  // Members rather than children, so that they go before the values they
  // refer to.
  std::unique_ptr<SerialLine> serialLine_;
  std::unique_ptr<FileSender> fileSender_;
  std::unique_ptr<NetworkSession> networkSession_;
  std::unique_ptr<FileUpload> fileUpload_;
  std::unique_ptr<FileDownload> fileDownload_;
  std::unique_ptr<JigSession> jigSession_;
  bool endedDuringStartUp_ = false;
  bool destroyed_ = false;
};

extern CMainDlg* theMainDlg;

}  // namespace torvek
