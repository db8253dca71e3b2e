// Tick counts, local time and waits.
#pragma once

#include <QDateTime>
#include <cstdint>

namespace torvek {

class Clock {
 public:
  virtual ~Clock() = default;
  // Milliseconds from an arbitrary start; never goes back.
  virtual std::int64_t TickMs() = 0;
  virtual QDateTime LocalNow() = 0;
  // A wait on the UI thread: the window keeps painting, but no input and no
  // other work of the tool runs in between, so the order of effects holds.
  virtual void WaitOnUiThread(int ms) = 0;
};

class SystemClock : public Clock {
 public:
  std::int64_t TickMs() override;
  QDateTime LocalNow() override;
  void WaitOnUiThread(int ms) override;
};

}  // namespace torvek
