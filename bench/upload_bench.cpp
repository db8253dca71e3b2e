// A file upload through the real window to virtual modules: to the selected
// module, and to every row of a list of 200. Reports the whole job against
// the nominal pace of one block per 20 ms, the interval between blocks as the
// modules saw it, the CPU time of the sender's thread and the UI thread's
// longest gap during the job.
// Runs in the lab: scripts/lab pc build/default/bin/upload_bench [size] [runs] [rows...]
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest/QTest>
#include <cstdio>
#include <vector>

#include "admin/config_page.h"
#include "admin/file_sender.h"
#include "bench_support.h"
#include "controls/cell_color_list.h"
#include "system_fixture.h"

using namespace torvek;
using namespace torvek::test;

namespace {

struct Run {
  double jobMs = 0;
  double nominalMs = 0;
  std::vector<double> intervalMediansMs;  // each completed module's median interval
  double intervalP99Ms = 0;               // the worst module's 99th percentile
  double senderCpuMs = 0;
  double worstGapMs = 0;
  int complete = 0;
};

QSet<QString> Tasks() {
  const QStringList tasks = QDir("/proc/self/task").entryList(QDir::Dirs | QDir::NoDotAndDotDot);
  return QSet<QString>(tasks.begin(), tasks.end());
}

// Nanoseconds a thread of this process has run, from its scheduler record.
qint64 RunNs(const QString& tid) {
  QFile file("/proc/self/task/" + tid + "/schedstat");
  if (!file.open(QIODevice::ReadOnly)) return -1;
  return file.readAll().split(' ').value(0).toLongLong();
}

double FieldOf(const QString& line, const QString& name) {
  for (const QString& part : line.split(' '))
    if (part.startsWith(name + "=")) return part.mid(name.size() + 1).toDouble();
  return -1;
}

Run OneRun(int rows, int size) {
  Run run;
  QTemporaryDir files;
  // No frame log: 200 rows of 1 MB would fill it with half a gigabyte.
  ChildProcess sim;
  const QString ready = files.filePath("ready");
  sim.Start(SourceDir() + "/scripts/lab",
            {"lan", BinDir() + "/torvek-modsim", "--quiet", "--lifetime", "600", "--ready", ready,
             "--count", QString::number(rows), "--files-dir", files.path()});
  if (!QTest::qWaitFor([&] { return QFile::exists(ready); }, 10000)) return run;

  LabWindow w;
  CMainDlg& d = w.dialog;
  d.OnInitDialog();
  d.show();
  if (!QTest::qWaitFor([&] { return d.ModuleList().RowCount() == rows; }, 10000)) return run;
  d.SelectRow(0);
  QByteArray content(size, '\0');
  for (int i = 0; i < size; ++i) content[i] = static_cast<char>(i * 7 + i / 251);
  const QString path = w.dir.filePath("upload.bin");
  QFile file(path);
  file.open(QIODevice::WriteOnly);
  file.write(content);
  file.close();

  const QSet<QString> before = Tasks();
  QString sender;
  qint64 senderNs = 0;
  bench::GapProbe probe([&] {
    if (sender.isEmpty()) {
      const QSet<QString> fresh = Tasks() - before;
      if (fresh.size() == 1) sender = *fresh.begin();
    }
    if (!sender.isEmpty()) senderNs = std::max(senderNs, RunNs(sender));
  });
  // To one module: the selected one; to many: every row, whatever its type.
  d.configPage->StartFileJob(56, d.modules().selectedModuleMac, path, rows > 1 ? 1 : 0, kModel740P,
                             0, 0);
  const double start = probe.ElapsedMs();
  probe.Start();
  while (d.link().fileJobRunning) QTest::qWait(1);
  run.jobMs = probe.ElapsedMs() - start;
  run.worstGapMs = double(probe.WorstGapMs());
  run.nominalMs = double((size + 999) / 1000) * 20.0;
  run.senderCpuMs = double(senderNs) / 1e6;

  QStringList lines;
  // Rows whose upload never completed show as missing in `complete`.
  const bool allLogged = QTest::qWaitFor(
      [&] {
        QFile log(files.filePath("uploads.log"));
        if (!log.open(QIODevice::ReadOnly)) return false;
        lines = QString::fromLatin1(log.readAll()).split('\n', Qt::SkipEmptyParts);
        return lines.size() >= rows;
      },
      10000);
  if (!allLogged)
    std::fprintf(stderr, "upload_bench: %lld of %d uploads logged\n",
                 static_cast<long long>(lines.size()), rows);
  // Intervals count only from uploads that completed: an empty set is no figure.
  for (const QString& line : lines) {
    if (FieldOf(line, "complete") != 1) continue;
    ++run.complete;
    run.intervalMediansMs.push_back(FieldOf(line, "interval_median_ms"));
    run.intervalP99Ms = std::max(run.intervalP99Ms, FieldOf(line, "interval_p99_ms"));
  }
  sim.Stop();
  return run;
}

}  // namespace

int main(int argc, char** argv) {
  RequireLab();
  QApplication app(argc, argv);
  const int size = argc > 1 ? QString(argv[1]).toInt() : 1'000'000;
  const int runs = argc > 2 ? QString(argv[2]).toInt() : 3;
  QList<int> targets;
  for (int i = 3; i < argc; ++i) targets << QString(argv[i]).toInt();
  if (targets.isEmpty()) targets = {1, 200};

  std::printf("upload of %d bytes, %d runs each\n", size, runs);
  bool allComplete = true;
  for (const int rows : targets) {
    std::vector<double> job, nominal, intervals, p99, cpu, gap;
    int fewest = rows;
    for (int r = 0; r < runs; ++r) {
      const Run run = OneRun(rows, size);
      std::printf(
          "  %3d rows run %d: job %.1f ms (nominal %.0f), %d of %d complete, module "
          "median intervals %s, p99 %.3f ms, sender CPU %.1f ms, UI gap %.0f ms\n",
          rows, r + 1, run.jobMs, run.nominalMs, run.complete, rows,
          bench::Spread(run.intervalMediansMs, 3).c_str(), run.intervalP99Ms, run.senderCpuMs,
          run.worstGapMs);
      job.push_back(run.jobMs);
      nominal.push_back(run.nominalMs);
      intervals.insert(intervals.end(), run.intervalMediansMs.begin(), run.intervalMediansMs.end());
      if (run.complete > 0) p99.push_back(run.intervalP99Ms);
      cpu.push_back(run.senderCpuMs);
      gap.push_back(run.worstGapMs);
      fewest = std::min(fewest, run.complete);
    }
    const double n = bench::Median(nominal);
    std::printf(
        "%3d rows: job %s (nominal %.0f ms), module median intervals %s, worst p99 %s, "
        "sender CPU %s, UI largest gap %s, fewest complete %d of %d\n",
        rows, bench::Spread(job).c_str(), n, bench::Spread(intervals, 3).c_str(),
        bench::Spread(p99, 3).c_str(), bench::Spread(cpu).c_str(), bench::Spread(gap, 0).c_str(),
        fewest, rows);
    if (fewest < rows) {
      std::printf(
          "%3d rows: INCOMPLETE: a run completed %d of %d modules; its figures do not "
          "describe a full upload\n",
          rows, fewest, rows);
      allComplete = false;
    }
    std::fflush(stdout);
  }
  return allComplete ? 0 : 1;
}
