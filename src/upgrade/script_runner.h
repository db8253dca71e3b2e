// Carries out what a flash script asks for, in order, on the UI thread. A
// sleep holds the rest of its pass and every chunk behind it back, on a
// timer, so the window stays free while the boot loader gets its time.
#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QTimer>
#include <deque>
#include <functional>

#include "upgrade/flash_scripts.h"

namespace torvek {

struct ScriptHost {
  std::function<void(const QByteArray&)> send;
  std::function<void(int id, const QString&)> setLabel;
  std::function<void()> stopTimer;
  std::function<void()> beep;
  std::function<void()> end;
};

class ScriptRunner : public QObject {
  Q_OBJECT
 public:
  // Target 0 runs the RedBoot script, 1 the U-Boot script.
  explicit ScriptRunner(ScriptHost host, QObject* parent = nullptr);

  void Start(int target, FlashRun run);
  // The operator's stop: what is held back is dropped. The script's own end
  // lets the rest of its pass run.
  void Stop();
  // One received chunk, terminator included.
  void OnChunk(const QByteArray& chunk);

  const FlashRun& run() const { return run_; }

 private:
  void Pump();
  void Do(const ScriptAction& action);

  ScriptHost host_;
  int target_ = 0;
  FlashRun run_;
  bool running_ = false;
  bool ending_ = false;
  std::deque<ScriptAction> actions_;
  std::deque<QByteArray> held_;
  QTimer sleep_;
};

}  // namespace torvek
