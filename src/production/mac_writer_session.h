// The mechanics behind the Mac Writer page: the counter and its file, the
// address kept in flight, the write that is out, timer 1999, the write logs
// and the label list. The page reads its controls and shows the results.
#pragma once

#include <QObject>
#include <QString>
#include <QTimer>

#include "core/frame_sender.h"
#include "core/management_frame.h"
#include "production/mac_records.h"

namespace torvek {

class ModuleDirectory;
struct Platform;

// What the session needs of the rest of the program.
struct MacWriterLinks {
  Platform& platform;
  // The counter, the logs and the record in flight live here.
  QString programDir;
  // The source of every write frame; set before the first write.
  const MacAddress& pcMac;
  // The module written to is the selected one.
  const ModuleDirectory& modules;
  // The management link, or a stand-in.
  SearchingSender& sender;
};

// The timer that searches for the rebooted module after a good write: its
// id, which the page's OnTimer dispatches on, and its delay.
inline constexpr int kRebootTimer = 1999;
inline constexpr int kRebootSearchMs = 15000;

class MacWriterSession : public QObject {
  Q_OBJECT
 public:
  explicit MacWriterSession(const MacWriterLinks& links, QObject* parent = nullptr);

  // Builds the file paths from the program folder and reads the counter; a
  // write of an earlier run that was never saved is stepped past.
  void LoadMacData();
  // Writes the counter, advanced first by the selected module's step when
  // `advance` is set. False, with status 100, when the file cannot be
  // written; the counter then stays where it was. A saved counter is past
  // any write in flight, or is the operator's own choice.
  bool SaveMacData(bool advance);
  // Sends a write of `newMac` to the selected module and waits for its
  // answer. In manual mode the address is kept in flight first; false, with
  // status 100, when that cannot be done, and nothing is sent.
  bool SendMacWrite(const MacBytes& newMac, int writeMode);
  // Takes an answer, whatever it says: the write is answered.
  MacAnswer TakeAnswer(const std::uint8_t* frame, std::size_t length);
  bool macWritePending = false;

  // Appends the line of a good write to today's log of the mode; false when
  // the log cannot be opened.
  bool AppendLogLine(int writeMode, const QString& macText, const QString& serialText);
  QString LogPath(int writeMode) const;
  // Writes the label list from the next address in steps of `step` and opens
  // it; false when the file cannot be written.
  bool MakeLabel(int step);
  QString labelPath() const { return labelPath_; }

  // Timer 1999: 15 s after a good write, once, a search for the rebooted module.
  void StartRebootTimer();
  void OnRebootTimer();
  bool RebootTimerActive() const { return rebootTimer_.isActive(); }

  MacCounter counter;
  QString macFilePath;
  QString inFlightPath;

 signals:
  // A status of the page's status line, by code.
  void ReportStatus(int code);

 private:
  MacWriterLinks links_;
  QTimer rebootTimer_;
  FrameBuffer frame_{};
  QString labelPath_;
};

}  // namespace torvek
