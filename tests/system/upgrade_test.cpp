// Boot loader runs in the real window: torvek-bootsim plays RedBoot or U-Boot
// in the lab's LAN side on the far end of a pseudo-terminal and fetches the
// images from torvek-tftp on the PC side with the tftp-hpa client.
#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QtTest/QTest>

#include "control_by_id.h"
#include "pty_pair.h"
#include "system_fixture.h"
#include "upgrade/upgrader_page.h"

using namespace torvek;
using namespace torvek::test;

namespace {

constexpr const char* kPcIp = "10.77.0.1";
const QString kTftpPort = "27069";
const QString kRebooting = "System is now rebooting !!!";

QByteArray Noise(int size, quint32 seed) {
  QByteArray out(size, '\0');
  QRandomGenerator random(seed);
  for (char& c : out) c = static_cast<char>(random.generate() & 0xFF);
  return out;
}

QByteArray ReadAll(const QString& path) {
  QFile file(path);
  return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// The window, a serial line to a virtual boot loader and a TFTP server with
// the images of both targets.
struct BootRig {
  LabWindow w;
  QTemporaryDir images;
  QTemporaryDir sim;
  PtyPair line{w.dir.filePath("COM1"), w.dir.filePath("boot")};
  ChildProcess tftp;
  ChildProcess bootsim;
  QMap<QString, QByteArray> files;

  bool Start(const QString& loader, const QStringList& extra = {}) {
    const QList<QPair<QString, int>> sizes = {{"ap61.rom", 150001},
                                              {"sqfs.ap61.bin", 400000},
                                              {"vmlinux.ap61.bin.l7", 300007},
                                              {"wbp.GENERIC.KRL5506.gw.bin", 70000},
                                              {"cfg.GENERIC.KRL5506.gw.bin", 9000},
                                              {"loader.bin", 190001},
                                              {"kernel.bin", 350003},
                                              {"config.bin", 65536},
                                              {"probe", 1}};
    quint32 seed = 1;
    for (const auto& [name, size] : sizes) {
      files[name] = Noise(size, seed++);
      QFile file(images.filePath(name));
      if (!file.open(QIODevice::WriteOnly) || file.write(files[name]) != size) return false;
    }
    if (!tftp.Start(BinDir() + "/torvek-tftp",
                    {"--root", images.path(), "--port", kTftpPort, "--no-window"}))
      return false;
    // Served once the LAN side can fetch from it.
    bool serving = false;
    for (int i = 0; i < 50 && !serving; ++i) {
      serving = RunOnLan({"tftp", "-m", "binary", kPcIp, kTftpPort, "-c", "get", "probe",
                          sim.filePath("probe")}) == 0;
      if (!serving) QThread::msleep(100);
    }
    if (!serving) return false;
    if (!line.Link()) return false;
    QStringList args{"lan",         BinDir() + "/torvek-bootsim",
                     "--tty",       line.peerPath(),
                     "--dir",       sim.path(),
                     "--loader",    loader,
                     "--tftp-port", kTftpPort};
    if (!bootsim.Start(SourceDir() + "/scripts/lab", args + extra)) return false;
    if (!QTest::qWaitFor([&] { return Report().contains("ready " + loader); }, 5000)) return false;

    if (!w.dialog.OnInitDialog()) return false;
    w.dialog.show();
    w.dialog.configPage->pcIp = kPcIp;
    w.dialog.ShowTab(3);
    ById<QComboBox>(Page(), 1081)->setCurrentIndex(loader == "redboot" ? 0 : 1);
    ById<QAbstractButton>(Page(), 1074)->click();
    return QTest::qWaitFor([&] { return w.dialog.SerialReaderRunning(); }, 5000);
  }

  CUpgraderPage& Page() { return *w.dialog.upgraderPage; }
  QString Text(int id) { return ById<QLabel>(Page(), id)->text(); }
  QString Report() { return QString::fromLatin1(ReadAll(sim.filePath("report.txt"))); }
  QString Commands() { return QString::fromLatin1(ReadAll(sim.filePath("commands.txt"))); }
  QByteArray Flashed(const QString& address) { return ReadAll(sim.filePath(address + ".bin")); }

  void Run(std::initializer_list<int> ticked) {
    for (int id : {1065, 1066, 1067, 1075, 1077})
      ById<QCheckBox>(Page(), id)
          ->setChecked(std::find(ticked.begin(), ticked.end(), id) != ticked.end());
    ById<QAbstractButton>(Page(), 1068)->click();
  }
  // What to show when a run did not end.
  QByteArray Why() {
    return (Report() + "\nstep " + QString::number(Page().upgradeStep()) + ", status " +
            Text(1082) + "\nlog tail: " + Page().LogText().right(600))
        .toLatin1();
  }
  bool Ended(int ms = 60000) {
    // The reset goes out after the end, from the window's event loop.
    return QTest::qWaitFor([&] { return Text(1082) == kRebooting; }, ms) &&
           QTest::qWaitFor([&] { return !bootsim.Running(); }, 5000);
  }
};

}  // namespace

class UpgradeTest : public QObject {
  Q_OBJECT

 private slots:
  void redBootRunWritesAllFiveImages() {
    BootRig rig;
    QVERIFY(rig.Start("redboot"));
    QCOMPARE(rig.Text(1080), QString("10.77.0.2"));
    rig.Run({1065, 1066, 1067, 1075, 1077});
    QVERIFY2(rig.Ended(), rig.Why().constData());
    QCOMPARE(rig.Flashed("bfc00000"), rig.files["ap61.rom"]);
    QCOMPARE(rig.Flashed("bfc30000"), rig.files["sqfs.ap61.bin"]);
    QCOMPARE(rig.Flashed("bff40000"), rig.files["vmlinux.ap61.bin.l7"]);
    QCOMPARE(rig.Flashed("bff30000"), rig.files["wbp.GENERIC.KRL5506.gw.bin"]);
    QCOMPARE(rig.Flashed("bffd0000"), rig.files["cfg.GENERIC.KRL5506.gw.bin"]);
    QVERIFY(rig.Commands().startsWith("ip_address -l 10.77.0.2 -h 10.77.0.1\n"));
    for (int id : {1069, 1070, 1071, 1076, 1078})
      QCOMPARE(rig.Text(id), QString("Flash writing is well done."));
    QVERIFY(!rig.w.dialog.serialLine().upgradeActive);
    QCOMPARE(rig.w.prompter.unexpected, 0);
  }

  void redBootSkipsUntickedImagesThroughSplitPrompts() {
    BootRig rig;
    QVERIFY(rig.Start("redboot", {"--split"}));
    rig.Run({1066, 1075});
    QVERIFY2(rig.Ended(), rig.Why().constData());
    QCOMPARE(rig.Flashed("bfc30000"), rig.files["sqfs.ap61.bin"]);
    QCOMPARE(rig.Flashed("bff30000"), rig.files["wbp.GENERIC.KRL5506.gw.bin"]);
    for (const char* absent : {"bfc00000", "bff40000", "bffd0000"})
      QVERIFY2(!QFile::exists(rig.sim.filePath(QString(absent) + ".bin")), absent);
    QCOMPARE(rig.Commands().count("load "), 2);
    QCOMPARE(rig.Text(1069), QString("Ready"));
    QCOMPARE(rig.Text(1078), QString("Ready"));
  }

  void uBootRunCopiesWithTheSizeAsPrinted() {
    BootRig rig;
    QVERIFY(rig.Start("uboot", {"--slow", "20", "--split"}));
    rig.Run({1065, 1067, 1077});
    QVERIFY2(rig.Ended(), rig.Why().constData());
    QCOMPARE(rig.Flashed("bf000000"), rig.files["loader.bin"]);
    QCOMPARE(rig.Flashed("bf050000"), rig.files["kernel.bin"]);
    QCOMPARE(rig.Flashed("bf030000"), rig.files["config.bin"]);
    const QString commands = rig.Commands();
    for (const auto& [address, file] : {std::pair{"bf000000", "loader.bin"},
                                        {"bf050000", "kernel.bin"},
                                        {"bf030000", "config.bin"}})
      QVERIFY2(
          commands.contains(
              QString("cp.b 80100000 %1 %2 \n").arg(address).arg(rig.files[file].size(), 0, 16)),
          qPrintable(commands));
    QVERIFY(!rig.Report().contains("differs"));
    QCOMPARE(rig.Text(1071), QString("Flash writing is well done."));
  }

  void uBootWithOnlyTheConfigSkipsTheRest() {
    BootRig rig;
    QVERIFY(rig.Start("uboot"));
    rig.Run({1077});
    QVERIFY2(rig.Ended(), rig.Why().constData());
    QCOMPARE(rig.Flashed("bf030000"), rig.files["config.bin"]);
    QVERIFY(!rig.Commands().contains("loader.bin") && !rig.Commands().contains("kernel.bin"));
  }

  void aSilentBootLoaderLeavesThePageStoppable() {
    BootRig rig;
    QVERIFY(rig.Start("redboot", {"--silent-at", "fis"}));
    rig.Run({1065, 1077});
    QVERIFY(QTest::qWaitFor([&] { return rig.Report().contains("silent at fis"); }, 20000));
    // The window stays free while the run stands.
    int ticks = 0;
    QTimer probe;
    QObject::connect(&probe, &QTimer::timeout, [&] { ++ticks; });
    probe.start(10);
    QTest::qWait(500);
    QVERIFY(ticks >= 10);
    QVERIFY(rig.w.dialog.serialLine().upgradeActive);
    QCOMPARE(rig.Page().upgradeStep(), 3u);
    QCOMPARE(rig.Text(1069), QString("Image file is well downloaded via TFTP"));
    ById<QAbstractButton>(rig.Page(), 1073)->click();
    QVERIFY(!rig.w.dialog.serialLine().upgradeActive);
    QVERIFY(ById(rig.Page(), 1068)->isEnabled());
    QVERIFY(ById(rig.Page(), 1081)->isEnabled());
  }

  void aFailedTransferLeavesTheRunAtItsSizeStep() {
    BootRig rig;
    QVERIFY(rig.Start("uboot", {"--fail-transfer", "loader.bin"}));
    rig.Run({1065});
    QVERIFY(QTest::qWaitFor([&] { return rig.Commands().contains("tftp 80100000 loader.bin"); },
                            20000));
    QTest::qWait(500);
    QCOMPARE(rig.Page().upgradeStep(), 3u);
    QVERIFY(!QFile::exists(rig.sim.filePath("bf000000.bin")));
    ById<QAbstractButton>(rig.Page(), 1073)->click();
    QVERIFY(!rig.w.dialog.serialLine().upgradeActive);
  }
};

TORVEK_LAB_MAIN(UpgradeTest)
#include "upgrade_test.moc"
