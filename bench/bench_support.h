// What the benchmarks share: medians and spreads, and a probe on the UI thread that notes
// the longest stretch in which a 10 ms timer could not run.
#pragma once

#include <QElapsedTimer>
#include <QTimer>
#include <algorithm>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

namespace torvek::bench {

inline double Median(std::vector<double> v) {
  std::sort(v.begin(), v.end());
  return v.empty() ? 0 : v[v.size() / 2];
}

// "min a / median b / max c" of the figures, or "no figure" when there are none:
// an empty set is never printed as a zero.
inline std::string Spread(std::vector<double> v, int decimals = 1, const char* unit = "ms") {
  if (v.empty()) return "no figure";
  std::sort(v.begin(), v.end());
  char text[128];
  std::snprintf(text, sizeof text, "min %.*f / median %.*f / max %.*f %s", decimals, v.front(),
                decimals, v[v.size() / 2], decimals, v.back(), unit);
  return text;
}

class GapProbe {
 public:
  // `onTick`, when given, runs on every tick after the gap is noted.
  explicit GapProbe(std::function<void()> onTick = {}) : onTick_(std::move(onTick)) {
    clock_.start();
    timer_.setInterval(10);
    QObject::connect(&timer_, &QTimer::timeout, [this] {
      const qint64 now = clock_.elapsed();
      worstGap_ = std::max(worstGap_, now - lastTick_);
      lastTick_ = now;
      if (onTick_) onTick_();
    });
  }

  void Start() {
    lastTick_ = clock_.elapsed();
    timer_.start();
  }
  // Milliseconds since the probe was made.
  qint64 Elapsed() const { return clock_.elapsed(); }
  double ElapsedMs() const { return double(clock_.nsecsElapsed()) / 1e6; }
  qint64 WorstGapMs() const { return worstGap_; }

 private:
  std::function<void()> onTick_;
  QElapsedTimer clock_;
  QTimer timer_;
  qint64 lastTick_ = 0;
  qint64 worstGap_ = 0;
};

}  // namespace torvek::bench
