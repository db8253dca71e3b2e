#include "production/jig_session.h"

#include <QCoreApplication>
#include <QFile>
#include <algorithm>

#include "core/latin1_text.h"
#include "core/module_directory.h"
#include "platform/platform.h"

namespace torvek {

namespace {

constexpr int kArpFlushMs = 2000;

}  // namespace

JigSession::JigSession(JigLinks links, QObject* parent)
    : QObject(parent), links_(std::move(links)) {
  connect(&socket_, &CNotifySocket::Tell, this,
          [this](const QString& text) { links_.platform.prompter.Message(text); });
  arpTimer_.setObjectName("timer1432");
  arpTimer_.setInterval(kArpFlushMs);
  connect(&arpTimer_, &QTimer::timeout, this, &JigSession::OnArpTimer);
  stepTimer_.setSingleShot(true);
  // A coarse timer may end a pause up to 5% early; the run keeps its pace.
  stepTimer_.setTimerType(Qt::PreciseTimer);
  connect(&stepTimer_, &QTimer::timeout, this, &JigSession::RunSteps);
}

JigSession::~JigSession() { socket_.Close(); }

void JigSession::Open() {
  if (!socket_.CreateDatagram(0)) links_.platform.prompter.Message(Latin1Text(kJigSocketErrorText));
  socket_.SetNotifyMessage(WM_SOCKET_NOTIFY);
  socket_.SetNotifyWindow(this);
  SetArpFlush(false);
}

void JigSession::Close() {
  stepTimer_.stop();
  arpTimer_.stop();
  socket_.Close();
}

void JigSession::SendJigRequest(std::uint8_t item) {
  const JigRequest request = BuildJigRequest(item);
  ModuleDirectory& modules = links_.modules;
  const JigTarget target = ChooseJigTarget(!modules.selectedAddress.isEmpty(), modules.RowCount());
  if (const std::string_view refusal = JigTargetRefusal(target); !refusal.empty()) {
    links_.platform.prompter.Message(Latin1Text(refusal));
    return;
  }
  // It stays the address of later requests, also after a new search.
  if (target == JigTarget::FirstRow) {
    const Module* first = modules.ModuleAt(0);
    modules.SetSelectedAddress(first ? QString::fromStdString(DottedFromRecord(first->lanIp.data()))
                                     : QString());
  }
  // Fire and forget; a socket that never opened sends nothing, silently.
  socket_.SendTo(request.data(), request.size(), kJigPort, modules.selectedAddress.toStdString());
}

void JigSession::OnRowTest(std::uint8_t item) {
  SendJigRequest(item);
  const JigRow* row = JigRowOfItem(item);
  if (row && view_) view_->SetResult(row->resultId, Latin1Text(kJigRowWaitingText));
}

void JigSession::OnAllTest() {
  ++run_;
  stepTimer_.stop();
  steps_ = AllTestPressSteps();
  next_ = 0;
  RunSteps();
}

void JigSession::OnAllTestStep(long long wParam) {
  const std::span<const JigStep> steps = AllTestStepSteps(wParam);
  if (steps.empty()) return;
  ++run_;
  stepTimer_.stop();
  steps_ = steps;
  next_ = 0;
  RunSteps();
}

void JigSession::RunSteps() {
  const unsigned run = run_;
  // A box of a step runs its own event loop; a run started from there ends
  // this one.
  while (run == run_ && next_ < steps_.size()) {
    const JigStep step = steps_[next_++];
    switch (step.kind) {
      case JigStepKind::SetAllWaiting:
        if (view_) view_->SetAllResults(Latin1Text(kJigRunWaitingText));
        break;
      case JigStepKind::Search: links_.search.StartSearch(); break;
      case JigStepKind::Repaint:
        if (view_) view_->RepaintWindow();
        break;
      case JigStepKind::Pause: stepTimer_.start(step.value); return;
      case JigStepKind::DateLine: {
        const QDateTime now = links_.platform.clock.LocalNow();
        const QDate d = now.date();
        const QTime t = now.time();
        AppendReport(
            JigRunDateLine(d.year(), d.month(), d.day(), t.hour(), t.minute(), t.second()));
        break;
      }
      case JigStepKind::PostStep:
        // Behind the answers already queued, as the search's records are.
        QCoreApplication::postEvent(this, new PrivateMessage(WM_JIG_STEP, 1, 0));
        break;
      case JigStepKind::Request: OnRowTest(static_cast<std::uint8_t>(step.value)); break;
    }
  }
}

void JigSession::OnJigAnswer(long long wParam, long long length) {
  // A receive error reads as an all-zero answer, which no code matches.
  const std::size_t taken =
      wParam == CNotifySocket::kData
          ? static_cast<std::size_t>(std::clamp<long long>(length, 0, socket_.receivedLength))
          : 0;
  const JigAnswer answer = ReadJigAnswer(socket_.receiveBuffer.data(), taken);
  const Module* first = links_.modules.ModuleAt(0);
  const JigAnswerEffect effect =
      DecideJigAnswer(answer, first ? MacText(first->mac.data()) : std::string());
  if (!effect.known) {
    links_.platform.prompter.Message(Latin1Text(kJigUnknownText));
    return;
  }
  for (const std::string& field : effect.fields) AppendReport(field);
  if (view_) view_->SetResult(effect.resultId, Latin1Text(effect.label));
}

bool JigSession::AppendReport(std::string_view text) {
  QFile report(ReportPath());
  if (!report.open(QIODevice::Append | QIODevice::Text)) {
    links_.platform.prompter.Message(Latin1Text(kJigReportFailedText));
    return false;
  }
  const std::string write = JigReportWrite(text);
  report.write(write.data(), static_cast<qint64>(write.size()));
  return true;
}

void JigSession::OnViewResult() { links_.platform.launcher.OpenFile(ReportPath()); }

void JigSession::SetArpFlush(bool on) {
  arpFlushEnabled = on;
  if (!on) {
    arpTimer_.stop();
  } else if (!arpTimer_.isActive()) {
    arpTimer_.start();
  }
}

void JigSession::OnArpTimer() {
  if (arpFlushEnabled) links_.platform.launcher.StartHidden("ip", {"neigh", "flush", "all"});
}

QString JigSession::ReportPath() const {
  return links_.platform.paths.FixedFile(Latin1Text(kJigReportName));
}

bool JigSession::event(QEvent* event) {
  if (event->type() == PrivateMessage::TypeOf(WM_SOCKET_NOTIFY)) {
    const auto* message = static_cast<PrivateMessage*>(event);
    OnJigAnswer(message->wParam, message->lParam);
    return true;
  }
  if (event->type() == PrivateMessage::TypeOf(WM_JIG_STEP)) {
    OnAllTestStep(static_cast<PrivateMessage*>(event)->wParam);
    return true;
  }
  return QObject::event(event);
}

}  // namespace torvek
