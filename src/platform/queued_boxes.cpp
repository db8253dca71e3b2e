#include "platform/queued_boxes.h"

#include <QCoreApplication>

#include "platform/prompter.h"

namespace torvek {

QueuedBoxes::QueuedBoxes(Prompter& prompter, std::function<void(const QString&)> log)
    : prompter_(prompter), log_(std::move(log)) {}

void QueuedBoxes::Show(const QString& text) {
  if (showing_) {
    for (Waiting& waiting : waiting_)
      if (waiting.text == text) {
        ++waiting.count;
        return;
      }
    if (waiting_.size() < kMaxWaiting)
      waiting_.push_back({text});
    else
      ++unshown_[text];
    return;
  }
  showing_ = true;
  prompter_.Message(text);
  // Each box runs its own loop, in which more may be queued.
  while (!waiting_.empty()) {
    const Waiting next = waiting_.front();
    waiting_.pop_front();
    prompter_.Message(next.text, next.count == 1 ? QString()
                                                 : QStringLiteral("%1 (%2 times)")
                                                       .arg(QCoreApplication::applicationName())
                                                       .arg(next.count));
  }
  showing_ = false;
  for (const auto& [unshownText, count] : unshown_)
    log_(QStringLiteral("%1 more answers not shown in a box: %2").arg(count).arg(unshownText));
  unshown_.clear();
}

}  // namespace torvek
