// The one window of the tool: the module list on the left, seven pages on the
// right. It owns everything that lives for the whole run, and the pages reach
// it through theMainDlg.
#pragma once

#include <QDialog>
#include <QString>
#include <atomic>
#include <functional>
#include <memory>

#include "core/management_frame.h"
#include "core/notify_socket.h"
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

  Platform& platform_;
  std::unique_ptr<Ui::MainDialog> ui_;
  CCellColorList* moduleList_ = nullptr;
  CCellColorList* commandList_ = nullptr;
  bool endedDuringStartUp_ = false;
  bool destroyed_ = false;
};

extern CMainDlg* theMainDlg;

}  // namespace torvek
