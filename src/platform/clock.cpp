#include "platform/clock.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QWidget>
#include <algorithm>
#include <chrono>
#include <thread>

#include "platform/beeper.h"

namespace torvek {

// The desktop has one beep for every kind.
void SystemBeeper::MessageBeep(unsigned /*type*/) { QApplication::beep(); }

std::int64_t SystemClock::TickMs() {
  using namespace std::chrono;
  return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

QDateTime SystemClock::LocalNow() { return QDateTime::currentDateTime(); }

void SystemClock::WaitOnUiThread(int ms) {
  // No event is handled while waiting, so nothing of the tool runs in between
  // and the order of effects holds; the windows are repainted every 20 ms so
  // that they do not look hung.
  QElapsedTimer elapsed;
  elapsed.start();
  for (qint64 left = ms; left > 0; left = ms - elapsed.elapsed()) {
    std::this_thread::sleep_for(std::chrono::milliseconds(std::min<qint64>(20, left)));
    for (QWidget* top : QApplication::topLevelWidgets())
      if (top->isVisible()) top->repaint();
  }
}

}  // namespace torvek
