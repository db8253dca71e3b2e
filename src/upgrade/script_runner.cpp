#include "upgrade/script_runner.h"

#include <string_view>
#include <utility>

#include "core/latin1_text.h"

namespace torvek {

ScriptRunner::ScriptRunner(ScriptHost host, QObject* parent)
    : QObject(parent), host_(std::move(host)) {
  sleep_.setSingleShot(true);
  // A coarse timer may fire 5 % early; the boot loader gets all of its time.
  sleep_.setTimerType(Qt::PreciseTimer);
  connect(&sleep_, &QTimer::timeout, this, &ScriptRunner::Pump);
}

void ScriptRunner::Start(int target, FlashRun run) {
  Stop();
  target_ = target;
  run_ = std::move(run);
  run_.upgradeStep = 0;
  run_.lastFlashStep = 0;
  running_ = true;
}

void ScriptRunner::Stop() {
  running_ = false;
  held_.clear();
  if (ending_) return;  // the end's own pass finishes
  actions_.clear();
  sleep_.stop();
}

void ScriptRunner::OnChunk(const QByteArray& chunk) {
  if (!running_) return;
  held_.push_back(chunk);
  if (!sleep_.isActive()) Pump();
}

void ScriptRunner::Pump() {
  for (;;) {
    while (!actions_.empty()) {
      const ScriptAction action = std::move(actions_.front());
      actions_.pop_front();
      if (action.kind == ScriptAction::Kind::Sleep) {
        sleep_.start(action.ms);
        return;
      }
      Do(action);
    }
    if (!running_ || held_.empty()) return;
    const QByteArray chunk = held_.front();
    held_.pop_front();
    const std::string_view text = ByteView(chunk);
    ScriptActions next = target_ == 0 ? RunRedBootScript(run_, text) : RunUBootScript(run_, text);
    for (ScriptAction& a : next) actions_.push_back(std::move(a));
  }
}

void ScriptRunner::Do(const ScriptAction& action) {
  switch (action.kind) {
    case ScriptAction::Kind::Send:
      host_.send(QByteArray(action.text.data(), static_cast<qsizetype>(action.text.size())));
      break;
    case ScriptAction::Kind::SetLabel:
      host_.setLabel(action.id, QString::fromStdString(action.text));
      break;
    case ScriptAction::Kind::StopTimer: host_.stopTimer(); break;
    case ScriptAction::Kind::Beep: host_.beep(); break;
    case ScriptAction::Kind::End:
      ending_ = true;
      host_.end();
      ending_ = false;
      running_ = false;
      held_.clear();
      break;
    case ScriptAction::Kind::Sleep: break;
  }
}

}  // namespace torvek
