// The Upgrader tab: catches a module's boot loader on the serial line and
// rewrites its flash by script, the boot loader fetching the images from a
// TFTP server on this PC.
#pragma once

#include <QByteArray>
#include <QHash>
#include <QString>
#include <QTimer>
#include <QWidget>
#include <cstdint>
#include <deque>
#include <memory>

#include "core/start_up_values.h"
#include "terminals/console_rules.h"
#include "upgrade/script_runner.h"

namespace Ui {
class UpgraderPage;
}

namespace torvek {

class ConsoleHost;
class SerialLine;
struct Platform;

// Everything the page uses of the rest of the program.
struct UpgraderLinks {
  Platform& platform;
  // serialOpen is the page's to write.
  SerialLine& line;
  const StartUpValues& program;
  ConsoleHost& host;
};

class CUpgraderPage : public QWidget {
  Q_OBJECT
 public:
  explicit CUpgraderPage(const UpgraderLinks& links, QWidget* parent = nullptr);
  ~CUpgraderPage() override;

  // Each time the tab is shown, with the PC address of the settings panel.
  void DeriveModuleIp(const QString& pcIp);
  // The serial line's script sink while a run is on: direction 0 received,
  // 1 sent.
  void OnSerialText(int direction, const QByteArray& text, int length);
  // Hands a command to the line, after the work at hand, in order.
  void SendScriptCommand(const QByteArray& text);

  void StartUpgrade();
  void EndUpgrade();
  void RunTftpServer();
  void OnSerialOpen();
  void OnTargetChange(int row);
  // Timer 1002: the break-in byte while the boot loader has not answered.
  void OnBreakInTick();

  std::uint32_t upgradeStep() const { return runner_.run().upgradeStep; }
  std::int32_t lastFlashStep() const { return runner_.run().lastFlashStep; }
  // What the log box holds, CR and all.
  QString LogText() const;

  int targetModule = 0;
  QString moduleIp;
  QString hostIp;
  // Texts given to the line, oldest first; a command stays under 1024 bytes.
  std::deque<QByteArray> ScriptSendBuffer;

 protected:
  bool event(QEvent* event) override;

 private:
  void SetLabel(int id, const QString& text);
  void LockGroup(bool locked);
  void FlushLog();
  QWidget* Control(int id) const;
  // The page's controls by id, gathered once: labels change on every step.
  mutable QHash<int, QWidget*> controls_;

  UpgraderLinks links_;
  std::unique_ptr<Ui::UpgraderPage> ui_;
  ScriptRunner runner_;
  ConsoleBox log_;
  QTimer breakInTimer_;
  QTimer logTimer_;
  // Which of the two progress texts comes next; never reset.
  bool progressToggle_ = false;
  int imagesWritten_ = 0;
  // A text is on its way to the line (and maybe a box of the line is up).
  bool sending_ = false;
};

}  // namespace torvek
