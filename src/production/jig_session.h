// The jig test's mechanics: the datagram socket to the modules' jig service,
// the steps of an "All Test" run, the report file and the neighbour-cache
// flush that keeps a module swapped in the jig reachable under the same
// address. The page only shows what this decides.
#pragma once

#include <QObject>
#include <QString>
#include <QTimer>
#include <cstdint>
#include <span>

#include "core/frame_sender.h"
#include "core/notify_socket.h"
#include "production/jig_rules.h"

namespace torvek {

class ModuleDirectory;
struct Platform;

// What the session needs of its page.
class JigView {
 public:
  virtual void SetResult(int resultId, const QString& text) = 0;
  virtual void SetAllResults(const QString& text) = 0;
  // The whole window repaints, so that the emptied list shows at once.
  virtual void RepaintWindow() = 0;

 protected:
  ~JigView() = default;
};

struct JigLinks {
  Platform& platform;
  // The session sets selectedAddress once, when it takes the only module of
  // the list as the one meant.
  ModuleDirectory& modules;
  // A run searches first, without the file job's check.
  SearchingSender& search;
};

class JigSession : public QObject {
  Q_OBJECT
 public:
  explicit JigSession(JigLinks links, QObject* parent = nullptr);
  ~JigSession() override;
  void SetView(JigView* view) { view_ = view; }

  // Opens the socket on a port of the system's choice; tells a failure once.
  void Open();
  // At shutdown, with the other sockets.
  void Close();
  void SendJigRequest(std::uint8_t item);
  // A row's button: its request, then its label waits.
  void OnRowTest(std::uint8_t item);
  void OnAllTest();
  void OnAllTestStep(long long wParam);
  // The socket's notification: 0 with the received length, 1 on an error.
  void OnJigAnswer(long long wParam, long long length);
  // False after the failure box.
  bool AppendReport(std::string_view text);
  void OnViewResult();
  // True while the jig tab is the one shown: the neighbour cache is flushed
  // every 2 s then, and not at all otherwise.
  void SetArpFlush(bool on);
  void OnArpTimer();

  QString ReportPath() const;
  bool arpFlushEnabled = false;
  CNotifySocket& socket() { return socket_; }

 protected:
  bool event(QEvent* event) override;

 private:
  // Carries out steps from `next_` on, up to a pause or the end.
  void RunSteps();

  JigLinks links_;
  JigView* view_ = nullptr;
  CNotifySocket socket_;
  QTimer arpTimer_;
  // A run's pauses: the window stays live, and whatever arrives meanwhile
  // (the list filling after the search) is handled before the next step.
  QTimer stepTimer_;
  std::span<const JigStep> steps_;
  std::size_t next_ = 0;
  // Counts the runs, so that a box's own event loop that starts a new run
  // leaves the old one behind.
  unsigned run_ = 0;
};

}  // namespace torvek
