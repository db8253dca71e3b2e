// File uploads against virtual modules that put every upload back together:
// the bytes that arrive, where they go by the job's choices, the blocks on the
// wire, and a file that changes between the dialog and the job.
#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QtTest/QTest>

#include <unistd.h>

#include <chrono>
#include <thread>

#include "admin/config_page.h"
#include "admin/file_upload.h"
#include "admin/operation_dialogs.h"
#include "controls/cell_color_list.h"
#include "system_fixture.h"

using namespace torvek;
using namespace torvek::test;

namespace {

const QString kMac1 = "00-0E-E3-00-00-01";
const QString kMac2 = "00-0E-E3-00-00-02";
const QString kMac3 = "00-0E-E3-00-00-03";

QByteArray Pattern(int size, const QByteArray& head = {}, int at = 0) {
  QByteArray out(size, '\0');
  for (int i = 0; i < size; ++i) out[i] = static_cast<char>(i * 7 + i / 251 + size);
  if (!head.isEmpty()) out.replace(at, head.size(), head);
  return out;
}

QString Write(const QTemporaryDir& dir, const QString& name, const QByteArray& bytes) {
  const QString path = dir.filePath(name);
  QFile file(path);
  if (!file.open(QIODevice::WriteOnly)) return {};
  file.write(bytes);
  return path;
}

// What modsim kept of uploads.
struct Received {
  QString dir;
  QStringList Lines(const QString& mac, int command) const {
    QFile file(dir + "/uploads.log");
    if (!file.open(QIODevice::ReadOnly)) return {};
    QStringList out;
    const QString key = QString("%1-%2 ").arg(mac).arg(command);
    for (const QString& line : QString::fromLatin1(file.readAll()).split('\n'))
      if (line.startsWith(key)) out << line;
    return out;
  }
  QByteArray File(const QString& mac, int command) const {
    QFile file(QString("%1/%2-%3.bin").arg(dir, mac).arg(command));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
  }
};

using test::FrameField;

struct Job {
  const char* what;
  QByteArray content;
  int operation;
  std::uint16_t model;
  int all;
  int protocol;
  QStringList reached;
};

}  // namespace

class UploadTest : public QObject {
  Q_OBJECT

 private slots:
  void uploadsReachTheirModulesByteForByte() {
    QTemporaryDir files;
    ModSim sim({"--count", "3", "--models", "730,740,730", "--files-dir", files.path()});
    QVERIFY(sim.Start());
    LabWindow w;
    CMainDlg& d = w.dialog;
    QVERIFY(d.OnInitDialog());
    QTRY_COMPARE(d.ModuleList().RowCount(), 3);
    d.SelectRow(0);
    const Received received{files.path()};

    const QByteArray kern = "KERN", dw = "DW00";
    const QStringList all{kMac1, kMac2, kMac3}, only730{kMac1, kMac3}, selected{kMac1};
    const QList<Job> jobs{
        {"1 B to the selected", Pattern(1), 0, kModel740P, 0, 0, selected},
        {"2000 B to the selected", Pattern(2000, kern), 0, kModel730, 0, 0, selected},
        {"64 KB to the selected", Pattern(65536, dw), 1, kModel730, 0, 0, selected},
        {"300 KB to the selected", Pattern(300'000), 0, kModel740P, 0, 0, selected},
        {"1 B to every row", Pattern(1), 0, kModel740P, 1, 0, all},
        {"2000 B to the 730 rows", Pattern(2000, kern), 0, kModel730, 1, 0, only730},
        {"64 KB to the 730 rows", Pattern(65536, dw), 1, kModel730, 1, 0, only730},
        {"300 KB to the 730 rows", Pattern(300'000, kern), 0, kModel730, 1, 0, only730},
        {"1 B broadcast to all", Pattern(1), 0, kModel740P, 1, 1, all},
        {"2000 B broadcast to the selected", Pattern(2000), 0, kModel740P, 0, 1, selected},
        {"64 KB broadcast to all", Pattern(65536, "Web", 8196), 1, kModel740, 1, 1, all},
        {"300 KB broadcast to all", Pattern(300'000), 0, kModel740P, 1, 1, all},
    };
    int n = 0;
    for (const Job& job : jobs) {
      const int command = job.operation == 0 ? 56 : 48;
      QMap<QString, int> before;
      for (const QString& mac : all) before[mac] = received.Lines(mac, command).size();
      const QString path = Write(w.dir, QString("job%1.bin").arg(n++), job.content);
      d.configPage->StartFileJob(command, d.modules().selectedModuleMac, path, job.all, job.model,
                                 job.operation, job.protocol);
      QVERIFY2(d.link().fileJobRunning, job.what);
      QCOMPARE(d.configPage->OperationStatus(), QString("Sending...."));
      QTRY_VERIFY_WITH_TIMEOUT(!d.link().fileJobRunning, 20000);
      const int blocks = (job.content.size() + 999) / 1000;
      QTRY_COMPARE(d.configPage->ProgressValue(), blocks);
      QCOMPARE(d.configPage->ProgressMaximum(), blocks);
      for (const QString& mac : all) {
        if (!job.reached.contains(mac)) {
          QTest::qWait(50);
          QVERIFY2(received.Lines(mac, command).size() == before[mac],
                   qPrintable(QString("%1 reached %2").arg(job.what, mac)));
          continue;
        }
        QTRY_VERIFY2(received.Lines(mac, command).size() == before[mac] + 1,
                     qPrintable(QString("%1 did not reach %2").arg(job.what, mac)));
        const QString line = received.Lines(mac, command).last();
        QVERIFY2(line.contains(QString(" complete=1 size=%1 blocks=%2 of %2 repeats=0 gaps=0 "
                                       "seq_mismatches=0 ")
                                   .arg(job.content.size())
                                   .arg(blocks)),
                 qPrintable(line));
        QVERIFY2(received.File(mac, command) == job.content, job.what);
      }
    }
    QVERIFY(w.prompter.boxes.isEmpty());

    // The first and the last block of the configuration to the selected module.
    const QStringList config = sim.FramesOf(48);
    QVERIFY(config.size() >= 66);
    QCOMPARE(config[0].section(' ', 0, 0), QString("1225"));
    QCOMPARE(FrameField(config[0], 0, 33),
             QString("5548300300000000000000025456000001000ee300000100000100"
                     "0000e8030000"));
    QCOMPARE(FrameField(config[65], 5, 11), QString("410000000000"));
    QCOMPARE(FrameField(config[65], 23, 33), QString("000001004100"
                                                     "18020000"));
    QCOMPARE(FrameField(config[66], 0, 5), QString("5548300300"));  // the next job's first
  }

  void setConfigurationAndAFileThatChangesBeforeTheJob() {
    QTemporaryDir files;
    ModSim sim({"--files-dir", files.path()});
    QVERIFY(sim.Start());
    LabWindow w;
    CMainDlg& d = w.dialog;
    ScriptedPrompter& p = w.prompter;
    QVERIFY(d.OnInitDialog());
    QTRY_COMPARE(d.ModuleList().RowCount(), 1);
    d.SelectRow(0);
    const Received received{files.path()};

    // Through the handler: a logo for the selected module, then the busy rule.
    const QByteArray logo = Pattern(10240, "GIF89a");
    const QString logoPath = Write(w.dir, "logo.gif", logo);
    QStringList dialogs;
    p.onDialog = [&dialogs](QDialog& dialog) {
      dialogs << dialog.windowTitle();
      dialog.findChild<QComboBox*>("operationType")->setCurrentIndex(2);
      dialog.accept();
      return dialog.result();
    };
    p.fileNames.enqueue(logoPath);
    d.configPage->OnSetConfiguration();
    QCOMPARE(dialogs, QStringList{"Change system data"});
    QVERIFY(d.link().fileJobRunning);
    QCOMPARE(d.configPage->uploadPath, logoPath);
    QCOMPARE(d.configPage->OperationStatus(), QString("Sending...."));
    p.Expect({"Module config is running !!!", "Module config is on process, try later !!!"});
    d.configPage->OnSetConfiguration();
    d.OnFindDevices();
    QCOMPARE(d.ModuleList().RowCount(), 1);
    QTRY_VERIFY(!d.link().fileJobRunning);
    QTRY_COMPARE(received.Lines(kMac1, 52).size(), 1);
    QCOMPARE(received.File(kMac1, 52), logo);
    // The busy check emptied the status line, and the end of a job says nothing.
    QCOMPARE(d.configPage->OperationStatus(), QString());

    // Gone while the modules are pinged: nothing goes out.
    const QString gone = Write(w.dir, "gone.bin", Pattern(5000));
    // The UI thread handles no event while it waits for the pings: another
    // thread plays the operator who changes the file.
    std::thread remover([&] {
      std::this_thread::sleep_for(std::chrono::milliseconds(300));
      QFile::remove(gone);
    });
    p.Expect({"File size is zero"});
    d.configPage->StartFileJob(56, d.modules().selectedModuleMac, gone, 0, kModel740P, 0, 0);
    remover.join();
    QVERIFY(!d.link().fileJobRunning);
    QVERIFY(p.Pending().isEmpty());

    // Shrunk meanwhile: the job sends the file as it is, and says so in
    // every block.
    const QString shrunk = Write(w.dir, "shrunk.bin", Pattern(5000));
    std::thread shrinker([&] {
      std::this_thread::sleep_for(std::chrono::milliseconds(300));
      QFile::resize(shrunk, 1500);
    });
    d.configPage->StartFileJob(56, d.modules().selectedModuleMac, shrunk, 0, kModel740P, 0, 0);
    shrinker.join();
    QTRY_VERIFY(!d.link().fileJobRunning);
    QTRY_COMPARE(received.Lines(kMac1, 56).size(), 1);
    QVERIFY2(received.Lines(kMac1, 56)[0].contains("complete=1 size=1500 blocks=2 of 2"),
             qPrintable(received.Lines(kMac1, 56)[0]));
    QCOMPARE(received.File(kMac1, 56), Pattern(5000).left(1500));

    // A file that cannot be opened for writing: the job starts and ends
    // without a block or a word, as one whose file did not open.
    const QString locked = Write(w.dir, "locked.bin", Pattern(3000));
    QFile::setPermissions(locked, QFileDevice::ReadOwner);
    const qsizetype sent = sim.FramesOf(56).size();
    d.configPage->StartFileJob(56, d.modules().selectedModuleMac, locked, 0, kModel740P, 0, 0);
    QTRY_VERIFY(!d.link().fileJobRunning);
    QCOMPARE(d.configPage->OperationStatus(), QString("Sending...."));
    QVERIFY(SearchBehind(w, sim));
    if (::geteuid() != 0) QCOMPARE(sim.FramesOf(56).size(), sent);
    QCOMPARE(p.unexpected, 0);
  }

  void companyIdAndTheChecksOfSetConfiguration() {
    ModSim sim({});
    QVERIFY(sim.Start());
    LabWindow w;
    CMainDlg& d = w.dialog;
    ScriptedPrompter& p = w.prompter;
    QVERIFY(d.OnInitDialog());
    QTRY_COMPARE(d.ModuleList().RowCount(), 1);
    int operation = 3, howMany = -1;
    p.onDialog = [&](QDialog& dialog) {
      if (dialog.windowTitle() == "Config Operation") {
        dialog.findChild<QComboBox*>()->setCurrentIndex(9);
      } else {
        dialog.findChild<QComboBox*>("operationType")->setCurrentIndex(operation);
        if (howMany >= 0) dialog.findChild<QComboBox*>("howManyModules")->setCurrentIndex(howMany);
      }
      dialog.accept();
      return dialog.result();
    };

    // No row selected: the dialog offers all modules, and with them neither
    // the selection nor the version is tested. No row was ever selected, so
    // the short command's stamp has no model to name.
    d.modules().selectedFirmwareMajor = 2;
    p.answers.enqueue(true);
    p.Expect({"Invalid Type String G : default"});
    d.configPage->OnSetConfiguration();
    QCOMPARE(p.questions, QStringList{"Are you sure to change company ID?"});
    QTRY_COMPARE(sim.FramesOf(63).size(), 1);
    QCOMPARE(FrameField(sim.FramesOf(63)[0], 17, 27), QString("ffffffffffff09000000"));

    // The selected module with old firmware is refused before the file dialog.
    d.SelectRow(0);
    d.modules().selectedFirmwareMajor = 2;
    operation = 0;
    howMany = 0;
    p.Expect({" This function supports module firmware version 3.0 above"});
    d.configPage->OnSetConfiguration();
    d.modules().selectedFirmwareMajor = 3;

    // A cancelled file dialog ends it silently, and no job starts.
    p.fileNames.enqueue(QString());
    d.configPage->OnSetConfiguration();
    QVERIFY(!d.link().fileJobRunning);
    // A file that fails its check keeps its path on the page.
    const QString bad = Write(w.dir, "bad.bin", Pattern(100));
    operation = 1;
    p.fileNames.enqueue(bad);
    p.Expect({"Error: config file is not 64K(65536) size"});
    d.configPage->OnSetConfiguration();
    QVERIFY(!d.link().fileJobRunning);
    QCOMPARE(d.configPage->uploadPath, bad);
    QVERIFY(p.Pending().isEmpty());
    QCOMPARE(p.unexpected, 0);
  }
};

TORVEK_LAB_MAIN(UploadTest)
#include "upload_test.moc"
