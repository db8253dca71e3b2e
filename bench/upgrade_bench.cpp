// A U-Boot dialogue against the Upgrader page of the real window: the bench
// plays the boot loader on a pseudo-terminal and times, on its own side of
// the line, each prompt's last byte to the first byte of the script's answer.
// Then the same while the module list takes a burst of virtual modules every
// two seconds; then the processor time of the whole tool while a run waits for
// a boot loader that says nothing.
// Runs in the lab, offscreen:
//   QT_QPA_PLATFORM=offscreen scripts/lab pc build/default/bin/upgrade_bench [runs] [modules]
#include <poll.h>
#include <unistd.h>

#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QElapsedTimer>
#include <QFile>
#include <QLabel>
#include <QTimer>
#include <QtTest/QTest>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "bench_support.h"
#include "control_by_id.h"
#include "controls/cell_color_list.h"
#include "pty_pair.h"
#include "system_fixture.h"
#include "upgrade/upgrader_page.h"

using namespace torvek;
using namespace torvek::test;

namespace {

using Clock = std::chrono::steady_clock;

double Ms(Clock::duration d) { return std::chrono::duration<double, std::milli>(d).count(); }

double Percentile(std::vector<double> v, double p) {
  if (v.empty()) return 0;
  std::sort(v.begin(), v.end());
  return v[std::min(v.size() - 1, static_cast<std::size_t>(p * double(v.size())))];
}

double ProcessCpuMs() {
  QFile f("/proc/self/stat");
  if (!f.open(QIODevice::ReadOnly)) return 0;
  const QByteArray stat = f.readAll();
  const QList<QByteArray> fields = stat.mid(stat.lastIndexOf(')') + 2).split(' ');
  return (fields.value(11).toDouble() + fields.value(12).toDouble()) * 1000.0 /
         double(sysconf(_SC_CLK_TCK));
}

// Runs the event loop as the window's own loop would, until `done`: a wait
// with sleeps in it (QTest::qWaitFor) would add its naps to every answer.
template <typename Condition>
bool WaitFor(Condition done, int ms, int wakeMs = 20) {
  QTimer wake;  // looks at the condition now and then
  wake.start(wakeMs);
  QElapsedTimer clock;
  clock.start();
  while (!done() && clock.elapsed() < ms)
    QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
  return done();
}

// The boot loader's end of the line, on its own thread.
class Peer {
 public:
  explicit Peer(int fd) : fd_(fd) {}

  // One run; false when the tool stopped talking.
  bool Run(std::vector<double>& samples) {
    if (!ReadUntil("4", 5000)) return false;
    Write("\r\n4: System Enter Boot Command Line Interface.\r\n");
    // Break-in bytes still on their way are not answers.
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    Drain();
    const std::string prompt = "\r\nRT30xx # ";
    const std::string size = "NetBootFileXferSize=1000\r\n";
    const std::string done = "Erasing done\r\n";
    bool ok = Ask(prompt, samples) && Ask(prompt, samples);
    for (int image = 0; ok && image < 3; ++image) {
      ok = Ask(size, samples) && Ask(done, samples);
      Write("Copy to Flash... done\r\n");
      if (image < 2) ok = ok && Ask(prompt, samples);
    }
    Write(prompt);
    return ok && ReadUntil("reset\n\r", 5000);
  }

  // Says nothing for `ms`; gives the break-in bytes that came meanwhile.
  int Listen(int ms) {
    int count = 0;
    const auto end = Clock::now() + std::chrono::milliseconds(ms);
    while (Clock::now() < end) {
      pollfd p{fd_, POLLIN, 0};
      if (::poll(&p, 1, 50) > 0) {
        char buffer[64];
        const ssize_t n = ::read(fd_, buffer, sizeof buffer);
        count += n > 0 ? static_cast<int>(std::count(buffer, buffer + n, '4')) : 0;
      }
    }
    return count;
  }

 private:
  void Write(const std::string& text) {
    for (std::size_t done = 0; done < text.size();) {
      const ssize_t n = ::write(fd_, text.data() + done, text.size() - done);
      if (n > 0) done += static_cast<std::size_t>(n);
    }
  }
  void Drain() {
    char buffer[256];
    pollfd p{fd_, POLLIN, 0};
    while (::poll(&p, 1, 0) > 0 && ::read(fd_, buffer, sizeof buffer) > 0) {
    }
  }
  bool ReadUntil(const std::string& tail, int ms) {
    std::string got;
    const auto end = Clock::now() + std::chrono::milliseconds(ms);
    while (Clock::now() < end) {
      pollfd p{fd_, POLLIN, 0};
      if (::poll(&p, 1, 20) <= 0) continue;
      char c = 0;
      if (::read(fd_, &c, 1) == 1) got.push_back(c);
      if (got.size() >= tail.size() &&
          got.compare(got.size() - tail.size(), tail.size(), tail) == 0)
        return true;
    }
    return false;
  }
  // The prompt's last byte leaves, the answer's first byte comes.
  bool Ask(const std::string& prompt, std::vector<double>& samples) {
    Write(prompt);
    const auto sent = Clock::now();
    pollfd p{fd_, POLLIN, 0};
    if (::poll(&p, 1, 5000) <= 0) return false;
    samples.push_back(Ms(Clock::now() - sent));
    return ReadUntil("\n", 5000);
  }

  int fd_;
};

struct Rig {
  LabWindow w;
  PtyPair line{w.dir.filePath("COM1"), w.dir.filePath("boot")};

  bool Start() {
    if (!line.Start(true) || !w.dialog.OnInitDialog()) return false;
    w.dialog.show();
    w.dialog.configPage->pcIp = "10.77.0.1";
    w.dialog.ShowTab(3);
    ById<QComboBox>(Page(), 1081)->setCurrentIndex(1);
    for (int id : {1065, 1067, 1077}) ById<QCheckBox>(Page(), id)->setChecked(true);
    ById<QAbstractButton>(Page(), 1074)->click();
    return QTest::qWaitFor([&] { return w.dialog.SerialReaderRunning(); }, 5000);
  }
  CUpgraderPage& Page() { return *w.dialog.upgraderPage; }
  QString Status() { return ById<QLabel>(Page(), 1082)->text(); }
};

// `runs` dialogues in a row; the samples of all of them.
std::vector<double> Dialogues(Rig& rig, int runs, int& failed) {
  std::vector<double> samples;
  std::atomic<int> finished{0};
  std::mutex lock;
  std::thread peer([&] {
    Peer boot(rig.line.fd());
    for (int r = 0; r < runs; ++r) {
      std::vector<double> mine;
      const bool ok = boot.Run(mine);
      {
        std::lock_guard guard(lock);
        samples.insert(samples.end(), mine.begin(), mine.end());
        if (!ok) ++failed;
      }
      ++finished;
    }
  });
  for (int r = 0; r < runs; ++r) {
    ById<QAbstractButton>(rig.Page(), 1068)->click();
    if (!WaitFor([&] { return finished > r; }, 20000)) break;
    if (rig.w.dialog.serialLine().upgradeActive) ById<QAbstractButton>(rig.Page(), 1073)->click();
  }
  peer.join();
  std::lock_guard guard(lock);
  return samples;
}

}  // namespace

int main(int argc, char** argv) {
  RequireLab();
  QApplication app(argc, argv);
  const int runs = argc > 1 ? std::atoi(argv[1]) : 30;
  const int modules = argc > 2 ? std::atoi(argv[2]) : 10000;
  Rig rig;
  if (!rig.Start()) {
    std::fprintf(stderr, "upgrade_bench: set-up failed\n");
    return 1;
  }

  int failed = 0;
  const std::vector<double> quiet = Dialogues(rig, runs, failed);
  std::printf("prompt to answer, quiet list: %zu answers, p50 %.3f ms, p99 %.3f ms, max %.3f ms\n",
              quiet.size(), Percentile(quiet, 0.5), Percentile(quiet, 0.99),
              Percentile(quiet, 1.0));

  ModSim sim({"--count", QString::number(modules)});
  if (!sim.Start()) {
    std::fprintf(stderr, "upgrade_bench: modsim did not start\n");
    return 1;
  }
  QTimer bursts;
  int searches = 0;
  QObject::connect(&bursts, &QTimer::timeout, [&] {
    rig.w.dialog.OnFindDevices();
    ++searches;
  });
  bursts.start(2000);
  rig.w.dialog.OnFindDevices();
  const std::vector<double> busy = Dialogues(rig, runs, failed);
  bursts.stop();
  std::printf(
      "prompt to answer, %d-module bursts (%d searches, %d rows): %zu answers, p50 %.3f ms, "
      "p99 %.3f ms, max %.3f ms\n",
      modules, searches + 1, rig.w.dialog.ModuleList().RowCount(), busy.size(),
      Percentile(busy, 0.5), Percentile(busy, 0.99), Percentile(busy, 1.0));
  sim.Stop();

  // Processor time of the whole tool over 10 s: idle, then waiting for a boot
  // loader that never answers (the break-in byte every 250 ms).
  const auto cpuOver = [&](auto&& during) {
    const double before = ProcessCpuMs();
    QElapsedTimer wall;
    wall.start();
    during();
    return std::pair{ProcessCpuMs() - before, double(wall.elapsed())};
  };
  WaitFor([] { return false; }, 3000, 500);  // the last burst's rows settle
  const auto [idleCpu, idleWall] = cpuOver([] { WaitFor([] { return false; }, 10000, 500); });
  ById<QAbstractButton>(rig.Page(), 1068)->click();
  std::atomic<int> breakIns{-1};
  const auto [cpu, wallMs] = cpuOver([&] {
    std::thread listener([&] { breakIns = Peer(rig.line.fd()).Listen(10000); });
    WaitFor([&] { return breakIns >= 0; }, 11000, 500);
    listener.join();
  });
  ById<QAbstractButton>(rig.Page(), 1073)->click();
  std::printf("idle window: %.0f ms of processor in %.0f ms (%.2f %% of a core)\n", idleCpu,
              idleWall, 100.0 * idleCpu / idleWall);
  std::printf(
      "waiting for the boot loader: %.0f ms of processor in %.0f ms (%.2f %% of a core), "
      "%d break-in bytes\n",
      cpu, wallMs, 100.0 * cpu / wallMs, breakIns.load());
  std::printf("failed dialogues: %d\n", failed);
  return failed ? 1 : 0;
}
