// A virtual module streams text lines over TCP as fast as it can, once into
// the Network page and once into socat writing to /dev/null on the same path
// (the ceiling). Runs in the lab, offscreen:
//   QT_QPA_PLATFORM=offscreen scripts/lab pc build/default/bin/network_bench [MB] [runs] [raw]
// "raw" streams one endless line instead of 64-byte lines.
#include <QAbstractButton>
#include <QApplication>
#include <QElapsedTimer>
#include <QtTest/QTest>
#include <cstdio>
#include <vector>

#include "app/main_dialog.h"
#include "bench_support.h"
#include "child_process.h"
#include "control_by_id.h"
#include "controls/cell_color_list.h"
#include "lab.h"
#include "scripted_prompter.h"
#include "terminals/network_page.h"

using namespace torvek;
using namespace torvek::test;

namespace {

using bench::Median;

// Notes when the module's close is told: the end of the stream, before the
// page's own 500 ms wait in its disconnect.
struct TimingPrompter : ScriptedPrompter {
  std::function<void(const QString&)> onBox;
  void Message(const QString& text, const QString& title) override {
    if (onBox) onBox(text);
    ScriptedPrompter::Message(text, title);
  }
};

struct BenchWindow {
  QTemporaryDir dir;
  TimingPrompter prompter;
  RecordingLauncher launcher;
  CountingBeeper beeper;
  SystemClock clock;
  SystemAdapterInfo adapters;
  TempPaths paths{dir.path()};
  Platform platform{prompter, launcher, beeper, clock, adapters, paths};
  CMainDlg dialog{platform};
};

struct Result {
  double ms = 0;
  double worstGapMs = 0;
  bool ok = false;
};

template <typename Condition>
bool WaitFor(Condition done, int ms) {
  QElapsedTimer clock;
  clock.start();
  while (!done() && clock.elapsed() < ms)
    QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
  return done();
}

// From the click on connect to the module's close, with a 10 ms timer on the
// UI thread noting the longest stretch it could not run.
Result WindowRun() {
  BenchWindow w;
  w.dialog.OnInitDialog();
  if (!WaitFor([&] { return w.dialog.ModuleList().RowCount() >= 1; }, 5000)) return {};
  w.dialog.SelectRow(0);
  w.dialog.show();
  w.dialog.ShowTab(1);
  QTest::qWait(200);
  w.prompter.Expect({"Connection is established", "disconnected"});
  Result r;
  bench::GapProbe probe;
  w.prompter.onBox = [&](const QString& text) {
    if (text != "disconnected") return;
    r.ms = probe.ElapsedMs();
    r.worstGapMs = double(probe.WorstGapMs());
    r.ok = true;
  };
  probe.Start();
  ById<QAbstractButton>(*w.dialog.networkPage, 1063)->click();
  WaitFor([&] { return r.ok; }, 300000);
  WaitFor([&] { return w.dialog.networkSession().state() == NetworkState::FailedOrClosed; }, 5000);
  return r;
}

Result SocatRun() {
  QElapsedTimer clock;
  clock.start();
  ChildProcess socat;
  if (!socat.Start("socat", {"-u", "TCP:10.77.128.1:5000", "OPEN:/dev/null"})) return {};
  Result r;
  r.ok = socat.WaitForFinished(300000) && socat.ExitCode() == 0;
  r.ms = double(clock.nsecsElapsed()) / 1e6;
  return r;
}

}  // namespace

int main(int argc, char** argv) {
  RequireLab();
  QApplication app(argc, argv);
  std::setvbuf(stdout, nullptr, _IOLBF, 0);
  const long long size = static_cast<long long>((argc > 1 ? atof(argv[1]) : 50.0) * 1024 * 1024);
  const int runs = argc > 2 ? atoi(argv[2]) : 5;
  const bool raw = argc > 3 && QByteArray(argv[3]) == "raw";
  ModSim sim({"--data", (raw ? "stream-raw=" : "stream=") + QString::number(size)});
  if (!sim.Start()) {
    std::fprintf(stderr, "network_bench: modsim did not start\n");
    return 1;
  }
  std::vector<double> socatMs, pageMs, pageGap;
  for (int run = 0; run < runs; ++run) {
    const Result s = SocatRun();
    const Result p = WindowRun();
    if (!s.ok || !p.ok) {
      std::fprintf(stderr, "network_bench: run %d failed (socat %d, page %d)\n", run, s.ok, p.ok);
      return 1;
    }
    socatMs.push_back(s.ms);
    pageMs.push_back(p.ms);
    pageGap.push_back(p.worstGapMs);
    std::printf("run %d: socat %.0f ms, page %.0f ms, ui stall %.0f ms\n", run, s.ms, p.ms,
                p.worstGapMs);
  }
  std::printf("%lld bytes over TCP%s, %d runs, medians\n", size, raw ? " in one line" : "", runs);
  std::printf("%-14s %10s %12s\n", "reader", "time ms", "ui stall ms");
  std::printf("%-14s %10.0f %12s\n", "socat", Median(socatMs), "-");
  std::printf("%-14s %10.0f %12.0f\n", "network page", Median(pageMs), Median(pageGap));
  std::printf("network page / socat: %.2fx\n", Median(pageMs) / Median(socatMs));
  return 0;
}
