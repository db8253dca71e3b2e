// "Make Label": 100,000 label lines written by the page's button, the time of
// each press (format, write, close) and the UI thread's longest stall, beside
// the same lines written by one formatted print per line.
// Usage: label_bench [RUNS]
#include <QApplication>
#include <QComboBox>
#include <QElapsedTimer>
#include <QPushButton>
#include <QTemporaryDir>
#include <QtTest/QTest>
#include <cstdio>
#include <vector>

#include "bench_support.h"
#include "core/module_directory.h"
#include "production/mac_writer_page.h"
#include "scripted_prompter.h"

using namespace torvek;
using namespace torvek::bench;

namespace {

// The bench presses no Mac Write: nothing is sent.
struct NoSearch : SearchingSender {
  bool SendFrameAndSearch(std::uint8_t*) override { return false; }
  void StartSearch() override {}
};

double PrintfLines(const QString& path) {
  QElapsedTimer clock;
  clock.start();
  std::FILE* file = std::fopen(qPrintable(path), "w+");
  if (!file) return -1;
  std::uint32_t id = 1;
  for (int i = 0; i < 100000; ++i, id += 4)
    std::fprintf(file, "%02x:%02x:%02x:%02x:%02x:%02x\n", 0, 0x50, 0x38, (id >> 16) & 0xFF,
                 (id >> 8) & 0xFF, id & 0xFF);
  std::fclose(file);
  return double(clock.nsecsElapsed()) / 1e6;
}

}  // namespace

int main(int argc, char** argv) {
  QApplication app(argc, argv);
  const int runs = argc > 1 ? std::max(1, std::atoi(argv[1])) : 21;
  test::OfflinePlatform env;
  const MacAddress pcMac{};
  ModuleDirectory selection;
  NoSearch sender;
  CMacWriterPage page(MacWriterLinks{env.platform, env.dir.path() + "/", pcMac, selection, sender});
  page.OnInitDialog();
  page.show();
  if (!QTest::qWaitForWindowExposed(&page)) return 2;
  page.findChild<QComboBox*>("labelStepCombo")->setCurrentIndex(3);
  auto* button = page.findChild<QPushButton*>("makeLabelButton");

  GapProbe probe;
  probe.Start();
  std::vector<double> press, baseline;
  for (int i = 0; i < runs; ++i) {
    QTest::qWait(30);  // the window idles between presses, as under an operator
    QElapsedTimer clock;
    clock.start();
    button->click();
    press.push_back(double(clock.nsecsElapsed()) / 1e6);
  }
  QTest::qWait(30);
  const qint64 stall = probe.WorstGapMs();
  for (int i = 0; i < runs; ++i)
    baseline.push_back(PrintfLines(env.dir.path() + "/printf_label.txt"));
  const double median = Median(press);
  std::printf("Make Label, 100000 lines, %d presses: median %.1f ms, slowest %.1f ms\n", runs,
              median, *std::max_element(press.begin(), press.end()));
  std::printf("one fprintf per line, same lines: median %.1f ms (ratio %.2f)\n", Median(baseline),
              median / Median(baseline));
  std::printf("UI thread's longest stall while pressing: %lld ms (a 10 ms timer's gap)\n",
              static_cast<long long>(stall));
  std::printf("goal: under 100 ms: %s\n", median < 100 ? "met" : "NOT met");
  return median < 100 ? 0 : 1;
}
