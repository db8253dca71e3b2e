// The values that live for the whole run and that several pages read, grouped
// by their one writer. CMainDlg inherits every group, so each keeps the name
// under which the pages know it (selectedRow of the main dialog); a page or
// controller is handed a reference to the groups it uses.
#pragma once

#include <QString>
#include <atomic>

#include "core/management_frame.h"
#include "terminals/serial_config.h"

namespace torvek {

// What start-up found out about the program and this PC. Written by
// CMainDlg::OnInitDialog; pcIp by the config page's Refresh.
struct ProgramValues {
  QString programFile;
  QString programDir;
  QString dailyLogPath;
  QString serialConfigPath;
  QString baseTitle;
  QString pcIp;
  MacAddress pcMac{};
  // Every request of the UI thread is built in here.
  FrameBuffer FrameTemplate{};
};

// The module chosen in the list. Writer: the main dialog on the UI thread
// (its list handlers, and the shortcuts and command list it routes); the jig
// session sets selectedAddress to the only module's when none was chosen. The
// file sender never reads it; it reads the targets published from it.
struct Selection {
  int selectedRow = -1;
  QString selectedModuleType = "G : default";
  int selectedFirmwareMajor = 3;
  MacAddress selectedModuleMac{};
  QString selectedAddress;
  QString selectedModuleIp;
  int useLanIp = 1;
};

// The file job. Writer: the file job's controller (the sender sets and clears
// fileJobRunning; the job's start sets the rest). Read by the guards of the
// other operations, and by the sender's thread, hence the atomics.
struct FileJobFlags {
  std::atomic<bool> fileJobRunning{false};
  // 1 broadcasts every block.
  std::atomic<int> fileJobBroadcast{0};
  // 1 sends to all rows rather than the selected module.
  std::atomic<int> fileJobAll{0};
  std::atomic<int> fileJobModel{0};
  // The file the operator last picked for an upload, and the one being sent.
  QString uploadPath;
  QString jobPath;
  QString downloadPath;
};

// The serial side. Written on the UI thread only: serialConfig by the serial
// line (its setup dialog, loading serial_config.dat), serialOpen by the
// pages' open buttons, upgradeActive by the Upgrader page. The reader thread reads
// upgradeActive, hence atomic.
struct SerialFields {
  SerialConfig serialConfig;
  // What the operator last asked of the port through a page's open button.
  bool serialOpen = false;
  // Set while a script drives the line: the reader then cuts chunks and the
  // text goes to the script's sink instead of the console.
  std::atomic<int> upgradeActive{0};
};

// The walk of the command list. Written by the command list panel.
struct CommandListState {
  int commandRow = -1;
  int previousCommandRow = -1;
};

}  // namespace torvek
