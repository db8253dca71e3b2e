// The one window of the tool: the module list on the left, seven pages on the
// right. It owns everything that lives for the whole run, and the pages reach
// it through theMainDlg.
#pragma once

#include <QByteArray>
#include <QDialog>
#include <QString>
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>

#include "core/management_frame.h"
#include "core/notify_socket.h"
#include "platform/platform.h"
#include "terminals/serial_config.h"

class QThread;

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
class SerialReader;

class CMainDlg : public QDialog {
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
  bool SendFrame(std::uint8_t* frame, std::size_t length);
  void StampFrame(std::uint8_t* frame, std::size_t length);
  // A request whose answer changes the list: send it and search again.
  bool SendFrameAndSearch(std::uint8_t* frame);
  // One block of a file job, by the job's settings; not stamped here. Safe to
  // call from the file sender: the list and the selection are read on the UI
  // thread, by a blocking call, so the UI thread must never wait for a sender
  // that is inside it. False when a send failed; the status line tells it.
  bool SendFileFrame(const std::uint8_t* frame, std::size_t length);
  // Pings every row (hidden, not waited for), then holds the UI thread 2 s so
  // that the modules' ARP entries are fresh before the first block.
  void PingAllModules();
  void OnUseLanIp();

  // Discovery and the selection.
  void OnFindDevices();
  void StartSearch();
  void OnModuleRecord();
  int FindRowByMac(const QString& macText) const;
  void SelectRow(int row);
  void ShowModuleSettings(int row);

  void ShowTab(int index);
  void OnManagementNotify(long long wParam, long long lParam);
  void ShowAboutBox();

  // The command list and the shortcuts under the module list.
  bool LoadCommandList(const QString& path);
  int NextCommandRow(int& count, int& row);
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
  void OpenSerial();
  void CloseSerial();
  // `tick` is when a received text was read; -1 means now.
  void FeedSerialText(int direction, const QByteArray& text, std::int64_t tick = -1);
  void SendSerialText(const QByteArray& text);
  bool SaveSerialConfig(const QString& path);
  bool LoadSerialConfig(const QString& path);
  bool SerialReaderRunning() const { return serialThread_ != nullptr; }

  Platform& platform() { return platform_; }
  CCellColorList& ModuleList() { return *moduleList_; }
  CCellColorList& commandList() { return *commandList_; }
  CNotifySocket managementSocket;

  CConfigPage* configPage = nullptr;
  CNetworkPage* networkPage = nullptr;
  CConsolePage* consolePage = nullptr;
  CUpgraderPage* upgraderPage = nullptr;
  CMacWriterPage* macWriterPage = nullptr;
  CRadioTestPage* radioTestPage = nullptr;
  CJigPage* jigPage = nullptr;

  // Process-wide values.
  QString programFile;
  QString programDir;
  QString dailyLogPath;
  QString serialConfigPath;
  QString baseTitle;
  QString pcIp;
  MacAddress pcMac{};
  FrameBuffer FrameTemplate{};
  int selectedRow = -1;
  QString selectedModuleType = "G : default";
  int selectedFirmwareMajor = 3;
  MacAddress selectedModuleMac{};
  QString selectedAddress;
  QString selectedModuleIp;
  int useLanIp = 1;
  std::atomic<bool> fileJobRunning{false};
  int commandRow = -1;
  int previousCommandRow = -1;
  SerialConfig serialConfig;
  // Set by the upgrader while a script drives the line: the reader then cuts
  // chunks and the text goes to upgraderSerialSink instead of the console.
  std::atomic<int> upgradeActive{0};
  std::function<void(int direction, const QByteArray& text, int length)> upgraderSerialSink;
  std::int64_t lastSendTick = 0;
  std::int64_t lastTextTick = 0;
  // What the operator last asked of the port through a page's open button.
  bool serialOpen = false;
  // The last line the Console page sent, terminator included.
  QByteArray lastSentText;
  // The file job: 1 broadcasts every block; 1 sends to all rows rather than
  // the selected module; the job's model code.
  std::atomic<int> fileJobBroadcast{0};
  std::atomic<int> fileJobAll{0};
  std::atomic<int> fileJobModel{0};
  QString downloadPath;

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
  QString AddressOfRow(int row) const;
  // Takes the Use LAN IP box into useLanIp.
  void ReadUseLanIp();
  QString ShortcutAddress();
  void OnSerialTexts(std::uint64_t session);
  void ShowFailures(const QStringList& textAndTitle);

  enum class SerialHandle { Invalid, Open, Closed };
  SerialHandle serialHandle_ = SerialHandle::Invalid;
  QThread* serialThread_ = nullptr;
  SerialReader* serialReader_ = nullptr;
  // Text still queued from a reader that has been closed is dropped.
  std::uint64_t serialSession_ = 0;

  Platform& platform_;
  std::unique_ptr<Ui::MainDialog> ui_;
  CCellColorList* moduleList_ = nullptr;
  CCellColorList* commandList_ = nullptr;
  bool endedDuringStartUp_ = false;
  bool destroyed_ = false;
};

extern CMainDlg* theMainDlg;

}  // namespace torvek
