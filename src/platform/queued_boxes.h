// Boxes that the network asks for. One stands at a time; a box asked for
// while one stands waits its turn instead of opening inside it, so that what
// arrives behind it (rows, data, other answers) is handled while the
// operator reads. The same text waiting twice is shown once, with the count
// in the title. Past a handful of different texts waiting, the rest are not
// shown but counted, and the counts go to the log when the boxes are done:
// a stranger's flood cannot wall off the operator.
#pragma once

#include <QString>
#include <deque>
#include <functional>
#include <map>

namespace torvek {

class Prompter;

class QueuedBoxes {
 public:
  static constexpr std::size_t kMaxWaiting = 8;

  // `log` takes one line per text that was not shown.
  QueuedBoxes(Prompter& prompter, std::function<void(const QString& line)> log);

  // Shows the box now, or after the one standing.
  void Show(const QString& text);
  bool Showing() const { return showing_; }

 private:
  struct Waiting {
    QString text;
    int count = 1;
  };

  Prompter& prompter_;
  std::function<void(const QString&)> log_;
  std::deque<Waiting> waiting_;
  std::map<QString, int> unshown_;
  bool showing_ = false;
};

}  // namespace torvek
