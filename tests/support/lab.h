// Tests that open a management socket run inside the lab, and fail at once
// anywhere else: the tool broadcasts, and that must never leave the lab.
#pragma once

#include <QString>
#include <QStringList>

#include "child_process.h"

namespace torvek::test {

// True when this process lives in the lab's PC-side network namespace.
bool InsideLab();
// Aborts the test program outside the lab.
void RequireLab();

QString SourceDir();
QString BinDir();

// A virtual module farm in the lab's LAN side; stopped when destroyed.
class ModSim {
 public:
  explicit ModSim(QStringList arguments);
  ~ModSim();
  bool Start(int timeoutMs = 10000);
  void Stop();
  // Frames modsim received, as "<ip>:<port> <length> <hex>" lines.
  QStringList LoggedFrames() const;
  // The logged frames of one command, as "<length> <hex>" (and " <destination>"
  // with --log-destination).
  QStringList FramesOf(int command) const;
  QString logPath;

 private:
  QStringList arguments_;
  QString readyPath_;
  ChildProcess process_;
};

// Hex of bytes [from, to) of a frame as modsim logs it, "<length> <hex>...".
inline QString FrameField(const QString& logged, int from, int to) {
  return logged.section(' ', 1, 1).mid(2 * from, 2 * (to - from));
}

// Runs a command in the lab's LAN side and waits for it.
int RunOnLan(const QStringList& command, int timeoutMs = 10000);

}  // namespace torvek::test
