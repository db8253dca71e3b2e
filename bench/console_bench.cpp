// A peer pours text into a pseudo-terminal at full speed while the Console page
// shows it, against `cat` reading the same stream (the ceiling) and picocom
// writing it to a file (what an engineer might use instead).
// Runs in the lab, offscreen:
//   QT_QPA_PLATFORM=offscreen scripts/lab pc build/default/bin/console_bench [MB] [runs]
// picocom's row stays 0 where it is not installed.
#include <unistd.h>

#include <QAbstractButton>
#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QTimer>
#include <QtTest/QTest>
#include <algorithm>
#include <cstdio>
#include <vector>

#include "bench_support.h"
#include "control_by_id.h"
#include "pty_pair.h"
#include "system_fixture.h"
#include "terminals/console_page.h"

using namespace torvek;
using namespace torvek::test;

namespace {

struct Result {
  double ms = 0;
  double cpuMs = 0;
  double readerCpuMs = 0;
  double worstGapMs = 0;
};

template <typename Condition>
bool WaitFor(Condition done, int ms) {
  QElapsedTimer clock;
  clock.start();
  while (!done() && clock.elapsed() < ms)
    QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);  // the probe wakes it
  return done();
}

using bench::Median;

// Processor time of a process or one of its threads, from /proc.
double CpuMs(const QString& statPath) {
  QFile f(statPath);
  if (!f.open(QIODevice::ReadOnly)) return 0;
  const QByteArray stat = f.readAll();
  const QList<QByteArray> fields = stat.mid(stat.lastIndexOf(')') + 2).split(' ');
  // utime and stime are fields 14 and 15, 12 and 13 behind the name.
  return (fields.value(11).toDouble() + fields.value(12).toDouble()) * 1000.0 /
         double(sysconf(_SC_CLK_TCK));
}

QString ThreadStat(const QString& name) {
  for (const QString& tid : QDir("/proc/self/task").entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
    QFile comm("/proc/self/task/" + tid + "/comm");
    if (comm.open(QIODevice::ReadOnly) && comm.readAll().trimmed() == name.toLatin1())
      return "/proc/self/task/" + tid + "/stat";
  }
  return {};
}

QByteArray MakeData(qint64 size) {
  QByteArray data;
  data.reserve(size);
  for (int line = 0; data.size() < size; ++line) {
    QByteArray text = QByteArray::number(line).rightJustified(8, '0') +
                      " flash block written, checksum 0x5a5a, all good so far .....\r\n";
    data += text;
  }
  data.truncate(size);
  return data;
}

// dd writes the file into the peer's end as fast as the line takes it.
void StartWriter(QProcess& writer, const QString& dataPath, const QString& peer) {
  writer.start("dd", {"if=" + dataPath, "of=" + peer, "bs=65536", "status=none"});
  writer.waitForStarted();
}

// An outside reader: done when its output holds `size` bytes.
Result ExternalRun(const QString& program, const QStringList& arguments, const QString& dir,
                   const QString& dataPath, qint64 size) {
  PtyPair pty(dir + "A", dir + "B");
  if (!pty.Start()) return {};
  const QString out = dir + "out.bin";
  QFile::remove(out);
  QProcess reader;
  reader.setStandardInputFile(QProcess::nullDevice());
  reader.setStandardOutputFile(out);
  reader.start(program, QStringList(arguments).replaceInStrings("@PORT", dir + "A"));
  reader.waitForStarted();
  QThread::msleep(300);  // let it open and set up the port
  const double cpuBefore = CpuMs(QString("/proc/%1/stat").arg(reader.processId()));
  QElapsedTimer clock;
  clock.start();
  QProcess writer;
  StartWriter(writer, dataPath, dir + "B");
  while (QFileInfo(out).size() < size && clock.elapsed() < 120000) QThread::usleep(500);
  Result r;
  r.ms = double(clock.nsecsElapsed()) / 1e6;
  r.cpuMs = CpuMs(QString("/proc/%1/stat").arg(reader.processId())) - cpuBefore;
  reader.kill();
  reader.waitForFinished();
  writer.waitForFinished();
  return r;
}

// The window: from the first byte written to the last one in the log file,
// with a 10 ms timer on the UI thread noting the longest stretch it could not run.
Result WindowRun(const QString& dataPath, qint64 size, double* idleReaderCpuPct) {
  LabWindow w;
  const QString dir = w.dir.path() + "/";
  PtyPair pty(dir + "COM1", dir + "peer");
  if (!pty.Start()) return {};
  w.dialog.OnInitDialog();
  w.dialog.show();
  w.dialog.ShowTab(2);
  QWidget& page = *w.dialog.consolePage;
  ById<QAbstractButton>(page, 1038)->click();
  if (!WaitFor([&] { return w.dialog.SerialReaderRunning(); }, 5000)) return {};
  QTest::qWait(200);

  if (idleReaderCpuPct) {
    const QString stat = ThreadStat("serial reader");
    const double before = CpuMs(stat);
    QTest::qWait(3000);
    *idleReaderCpuPct = (CpuMs(stat) - before) / 3000.0 * 100.0;
  }

  const qint64 target = QFileInfo(w.dialog.startUp.dailyLogPath).size() + size;
  const QString readerStat = ThreadStat("serial reader");
  const double readerBefore = CpuMs(readerStat);
  const double cpuBefore = CpuMs("/proc/self/stat");
  bool done = false;
  bench::GapProbe probe([&] {
    if (QFileInfo(w.dialog.startUp.dailyLogPath).size() >= target) done = true;
  });
  probe.Start();
  QProcess writer;
  StartWriter(writer, dataPath, dir + "peer");
  WaitFor([&] { return done; }, 300000);
  Result r;
  r.ms = probe.ElapsedMs();
  r.cpuMs = CpuMs("/proc/self/stat") - cpuBefore;
  r.readerCpuMs = CpuMs(readerStat) - readerBefore;
  r.worstGapMs = double(probe.WorstGapMs());
  writer.waitForFinished();
  return r;
}

}  // namespace

int main(int argc, char** argv) {
  RequireLab();
  QApplication app(argc, argv);
  const qint64 size = qint64(argc > 1 ? atof(argv[1]) : 10.0) * 1024 * 1024;
  const int runs = argc > 2 ? atoi(argv[2]) : 3;
  // "page" leaves out the outside readers, for profiling.
  const bool pageOnly = argc > 3 && QByteArray(argv[3]) == "page";
  QTemporaryDir dir;
  const QString base = dir.path() + "/";
  const QString dataPath = base + "data.txt";
  {
    QFile f(dataPath);
    f.open(QIODevice::WriteOnly);
    f.write(MakeData(size));
  }

  struct Row {
    const char* name;
    std::vector<double> ms, cpu, gap;
  } rows[3] = {{"cat", {}, {}, {}}, {"picocom", {}, {}, {}}, {"console page", {}, {}, {}}};
  std::vector<double> readerCpu;
  double idle = -1;
  for (int run = 0; run < runs; ++run) {
    const Result c = pageOnly ? Result{} : ExternalRun("cat", {"@PORT"}, base, dataPath, size);
    const bool picocom = !QStandardPaths::findExecutable("picocom").isEmpty();
    const Result p =
        pageOnly || !picocom
            ? Result{}
            : ExternalRun("picocom",
                          {"-q", "-x", "5000", "--noreset", "--nolock", "-b", "57600", "@PORT"},
                          base, dataPath, size);
    const Result wr = WindowRun(dataPath, size, run == 0 ? &idle : nullptr);
    const Result* all[] = {&c, &p, &wr};
    readerCpu.push_back(wr.readerCpuMs);
    for (int i = 0; i < 3; ++i) {
      rows[i].ms.push_back(all[i]->ms);
      rows[i].cpu.push_back(all[i]->cpuMs);
      rows[i].gap.push_back(all[i]->worstGapMs);
    }
  }
  std::printf("%lld bytes, %d runs, medians\n", static_cast<long long>(size), runs);
  std::printf("%-14s %10s %10s %12s\n", "reader", "time ms", "cpu ms", "ui stall ms");
  for (const Row& r : rows)
    std::printf("%-14s %10.0f %10.0f %12.0f\n", r.name, Median(r.ms), Median(r.cpu), Median(r.gap));
  std::printf("of the console page's cpu, the reader thread: %.0f ms\n", Median(readerCpu));
  std::printf("console page / cat: %.2fx\n", Median(rows[2].ms) / Median(rows[0].ms));
  std::printf("reader thread idle with the port open and silent: %.2f %% of a core\n", idle);
  return 0;
}
