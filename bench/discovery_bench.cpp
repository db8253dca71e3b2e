// One search answered by a burst of virtual modules, against the real main
// window, and the same burst counted by a bare receiver on the same port.
// Runs in the lab: scripts/lab pc build/default/bin/discovery_bench [modules] [runs]
#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QTimer>
#include <QtTest/QTest>
#include <algorithm>
#include <cstdio>
#include <vector>

#include "bench_support.h"
#include "controls/cell_color_list.h"
#include "system_fixture.h"

using namespace torvek;
using namespace torvek::test;

namespace {

struct Run {
  int rows = 0;
  double ms = 0;
  double worstGapMs = 0;
};

using bench::Median;

// The window: from the search to the last row shown, with a 10 ms timer on the
// UI thread that notes the longest stretch it could not run.
Run WindowRun(LabWindow& w, int modules, bool atStartUp) {
  CMainDlg& d = w.dialog;
  bench::GapProbe probe;
  qint64 doneAt = -1;
  QObject::connect(&d.ModuleList().model(), &QAbstractItemModel::rowsInserted, [&] {
    if (d.ModuleList().model().rowCount() >= modules && doneAt < 0) doneAt = probe.Elapsed();
  });
  probe.Start();
  const qint64 searchAt = probe.Elapsed();
  if (atStartUp) {
    d.OnInitDialog();  // the first search goes out here, before the window shows
    d.show();
  } else {
    d.OnFindDevices();
  }
  // Wait for the rows, or 2 s of silence after the last one.
  int lastCount = -1;
  qint64 lastChange = probe.Elapsed();
  while (doneAt < 0 && probe.Elapsed() - lastChange < 2000) {
    QTest::qWait(5);
    if (d.ModuleList().RowCount() != lastCount) {
      lastCount = d.ModuleList().RowCount();
      lastChange = probe.Elapsed();
    }
  }
  QTest::qWait(100);  // the probe keeps running a little past the end
  Run run;
  run.rows = d.ModuleList().model().rowCount();
  run.ms = static_cast<double>((doneAt >= 0 ? doneAt : lastChange) - searchAt);
  run.worstGapMs = static_cast<double>(probe.WorstGapMs());
  return run;
}

// The ceiling: a plain recvmmsg loop on port 7981 with the tool's buffer size.
Run BareRun(int modules) {
  Run run;
  const int fd = ::socket(AF_INET, SOCK_DGRAM, 0);
  const int one = 1, rcv = 0x200000;
  ::setsockopt(fd, SOL_SOCKET, SO_BROADCAST, &one, sizeof one);
  ::setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &rcv, sizeof rcv);
  sockaddr_in local{};
  local.sin_family = AF_INET;
  local.sin_port = htons(7981);
  if (::bind(fd, reinterpret_cast<sockaddr*>(&local), sizeof local) != 0) {
    std::perror("bare receiver bind");
    ::close(fd);
    return run;
  }
  std::uint8_t search[23] = {0x48, 0x55, 0x01, 0x02, 0, 0, 0, 0, 0, 0x00, 0x1F};
  sockaddr_in to{};
  to.sin_family = AF_INET;
  to.sin_port = htons(7980);
  to.sin_addr.s_addr = htonl(INADDR_BROADCAST);
  QElapsedTimer clock;
  clock.start();
  ::sendto(fd, search, sizeof search, 0, reinterpret_cast<sockaddr*>(&to), sizeof to);
  constexpr int kBatch = 64;
  static std::uint8_t buffers[kBatch][4097];
  mmsghdr messages[kBatch];
  iovec vectors[kBatch];
  qint64 last = 0;
  while (run.rows < modules) {
    pollfd p{fd, POLLIN, 0};
    if (::poll(&p, 1, 2000) <= 0) break;
    for (int i = 0; i < kBatch; ++i) {
      vectors[i] = {buffers[i], sizeof buffers[i]};
      messages[i] = {};
      messages[i].msg_hdr.msg_iov = &vectors[i];
      messages[i].msg_hdr.msg_iovlen = 1;
    }
    const int n = ::recvmmsg(fd, messages, kBatch, MSG_DONTWAIT, nullptr);
    if (n > 0) {
      run.rows += n;
      last = clock.elapsed();
    }
  }
  run.ms = static_cast<double>(last);
  ::close(fd);
  return run;
}

}  // namespace

int main(int argc, char** argv) {
  RequireLab();
  QApplication app(argc, argv);
  const int modules = argc > 1 ? std::atoi(argv[1]) : 10000;
  const int runs = argc > 2 ? std::atoi(argv[2]) : 7;
  ModSim sim({"--count", QString::number(modules)});
  if (!sim.Start()) {
    std::fprintf(stderr, "modsim did not start\n");
    return 1;
  }
  std::vector<double> windowMs, windowRows, gaps, bareMs, bareRows, startRows, startMs;
  for (int i = 0; i < runs; ++i) {
    const Run bare = BareRun(modules);
    LabWindow w;
    // The search of start-up, while the window comes up, then Find Devices.
    const Run start = WindowRun(w, modules, true);
    QTest::qWait(300);
    const Run window = WindowRun(w, modules, false);
    std::printf(
        "run %d: Find Devices %d rows in %.0f ms, worst UI gap %.0f ms; start-up %d rows "
        "in %.0f ms; bare %d in %.0f ms\n",
        i + 1, window.rows, window.ms, window.worstGapMs, start.rows, start.ms, bare.rows, bare.ms);
    startRows.push_back(start.rows);
    startMs.push_back(start.ms);
    std::fflush(stdout);
    windowMs.push_back(window.ms);
    windowRows.push_back(window.rows);
    gaps.push_back(window.worstGapMs);
    bareMs.push_back(bare.ms);
    bareRows.push_back(bare.rows);
  }
  // A run that lost answers gives no time: its time would flatter it.
  const auto complete = [&](const std::vector<double>& rows, const std::vector<double>& ms) {
    std::vector<double> kept;
    for (std::size_t i = 0; i < rows.size(); ++i)
      if (rows[i] == modules) kept.push_back(ms[i]);
    return kept;
  };
  const auto lost = [&](const std::vector<double>& rows) {
    return std::count_if(rows.begin(), rows.end(), [&](double r) { return r != modules; });
  };
  const std::vector<double> window = complete(windowRows, windowMs);
  const std::vector<double> bare = complete(bareRows, bareMs);
  std::printf("\nover %d runs of %d modules (times of complete runs only):\n", runs, modules);
  std::printf("  Find Devices, search to last row shown: %s; %ld incomplete\n",
              bench::Spread(window, 0).c_str(), lost(windowRows));
  std::printf("  start-up search: %s; %ld incomplete\n",
              bench::Spread(complete(startRows, startMs), 0).c_str(), lost(startRows));
  std::printf("  bare receiver: %s; %ld incomplete\n", bench::Spread(bare, 0).c_str(),
              lost(bareRows));
  if (!window.empty() && !bare.empty())
    std::printf("  window / bare time, medians: %.2f\n",
                Median(window) / std::max(1.0, Median(bare)));
  std::printf("  worst UI-thread gap (10 ms probe): %s\n", bench::Spread(gaps, 0).c_str());
  const double worstGap = *std::max_element(gaps.begin(), gaps.end());
  const bool ok =
      lost(windowRows) == 0 && lost(startRows) == 0 && Median(window) < 1000 && worstGap <= 100;
  std::printf("  goal (every row of every run, under 1 s, no gap over 100 ms): %s\n",
              ok ? "met" : "NOT met");
  return ok ? 0 : 1;
}
