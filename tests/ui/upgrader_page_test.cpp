// The Upgrader page: its template, the target choice, the addresses, the
// checks of start, and runs against a boot loader played by the test on a
// pseudo-terminal.
#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QElapsedTimer>
#include <QLabel>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QtTest/QTest>
#include <functional>

#include "control_by_id.h"
#include "pty_pair.h"
#include "scripted_prompter.h"
#include "terminals/console_host.h"
#include "terminals/serial_line.h"
#include "upgrade/upgrader_page.h"

using namespace torvek;
using torvek::test::ById;
using torvek::test::PtyPair;

namespace {

struct UpgraderRig : ConsoleHost {
  torvek::test::OfflinePlatform p;
  StartUpValues program;
  SerialLine line{p.platform, program};
  QList<int> switches;
  CUpgraderPage page{{p.platform, line, program, *this}};

  bool LoadCommandList(const QString&) override { return true; }
  int NextCommandRow(int& count, int& row) override { return count = row = 0; }
  void PostSerialSwitch(int open) override { switches << open; }

  QString Text(int id) {
    QWidget* w = ById(page, id);
    if (auto* label = qobject_cast<QLabel*>(w)) return label->text();
    if (auto* button = qobject_cast<QAbstractButton*>(w)) return button->text();
    return {};
  }
  void Tick(std::initializer_list<int> ids) {
    for (int id : {1065, 1066, 1067, 1075, 1077}) ById<QCheckBox>(page, id)->setChecked(false);
    for (int id : ids) ById<QCheckBox>(page, id)->setChecked(true);
  }
  void Click(int id) { ById<QAbstractButton>(page, id)->click(); }
  bool Locked() {
    for (int id : {1065, 1066, 1067, 1075, 1077, 1074, 1081})
      if (ById(page, id)->isEnabled()) return false;
    return true;
  }
};

// The rig with its line open on a pseudo-terminal whose far end the test
// plays.
struct LineRig : UpgraderRig {
  PtyPair pty{p.dir.path() + "/COM1", p.dir.path() + "/peer"};
  bool Open() {
    if (!pty.Start()) return false;
    SerialConfig config;
    config.port = 0;
    config.baud = 12;
    config.dataBits = 3;
    line.serialOpen = true;
    return line.Open(config, p.dir.path() + "/");
  }
  // Waits for the next bytes from the tool that end with `tail`.
  // Break-in bytes that were on their way are left out.
  QByteArray AwaitCommand(const QByteArray& tail) { return Await(tail).replace('\x03', ""); }
  QByteArray Await(const QByteArray& tail, int ms = 5000) {
    QElapsedTimer timer;
    timer.start();
    while (!got.endsWith(tail) && timer.elapsed() < ms) {
      QTest::qWait(5);
      got += pty.Read();
    }
    return std::exchange(got, {});
  }
  QByteArray got;
};

}  // namespace

class UpgraderPageTest : public QObject {
  Q_OBJECT

 private slots:
  void templateHoldsEveryControlAndTheHelp() {
    UpgraderRig rig;
    QCOMPARE(rig.page.property("controlId").toInt(), 140);
    const QList<QPair<int, QString>> texts = {{1079, "Static"},
                                              {1080, "Static"},
                                              {1065, "Boot Loader"},
                                              {1066, "File System"},
                                              {1067, "Linux Kernel"},
                                              {1075, "Web Page"},
                                              {1077, "Config File"},
                                              {1069, "ap61.rom"},
                                              {1070, "sqfs.ap61.bin"},
                                              {1071, "vmlinux.ap61.bin.l7"},
                                              {1076, "wbp.GENERIC.KRL5506.gw.bin"},
                                              {1078, "cfg.GENERIC.KRL5506.gw.bin"},
                                              {1082, "Ready"},
                                              {1068, "start"},
                                              {1073, "stop"},
                                              {1072, "run TFTP"},
                                              {1074, "open serial"}};
    for (const auto& [id, text] : texts) QCOMPARE(rig.Text(id), text);
    QCOMPARE(ById<QLabel>(rig.page, 1082)->alignment() & Qt::AlignHCenter, Qt::AlignHCenter);
    auto* combo = ById<QComboBox>(rig.page, 1081);
    QCOMPARE(combo->count(), 2);
    QCOMPARE(combo->itemText(0), QString("ORB730_WI-atheros"));
    QCOMPARE(combo->itemText(1), QString("ORB740_WI-ralink"));
    QCOMPARE(combo->currentIndex(), 0);
    for (int id : {1065, 1066, 1067, 1075, 1077})
      QVERIFY(!ById<QCheckBox>(rig.page, id)->isChecked());
    const QString help = ById<QPlainTextEdit>(rig.page, 1023)->toPlainText();
    QVERIFY(
        help.startsWith("How to Upgrader ?\n 0.IP change is not needed in host pc and module\n"));
    QVERIFY(help.contains("\n 2.Set serial bardrate 38400 at torvek named config button\n"));
    QVERIFY(help.endsWith(" -b/g module only; after upgrading,system is automatically reboot\n"));
    QCOMPARE(help.count('\n'), 16);
  }

  void targetRowChangesRowsAndHidesTheRalinkLessImages() {
    UpgraderRig rig;
    rig.page.show();
    auto* combo = ById<QComboBox>(rig.page, 1081);
    rig.Tick({1066});
    combo->setCurrentIndex(1);
    QCOMPARE(rig.page.targetModule, 1);
    for (int id : {1066, 1075, 1070, 1076}) QVERIFY(!ById(rig.page, id)->isVisible());
    QCOMPARE(rig.Text(1067), QString("Kernel+App"));
    QCOMPARE(rig.Text(1069), QString("loader.bin"));
    QCOMPARE(rig.Text(1071), QString("kernel.bin"));
    QCOMPARE(rig.Text(1078), QString("config.bin"));
    QVERIFY(ById<QCheckBox>(rig.page, 1066)->isChecked());  // hidden, still ticked
    combo->setCurrentIndex(0);
    for (int id : {1066, 1075, 1070, 1076}) QVERIFY(ById(rig.page, id)->isVisible());
    QCOMPARE(rig.Text(1067), QString("Linux Kernel"));
    QCOMPARE(rig.Text(1076), QString("wbp.GENERIC.KRL5506.gw.bin"));
  }

  void moduleAddressFollowsThePcAddress() {
    UpgraderRig rig;
    const QList<QPair<QString, QString>> cases = {{"10.1.2.0", "10.1.2.1"},
                                                  {"10.1.2.1", "10.1.2.2"},
                                                  {"10.1.2.253", "10.1.2.254"},
                                                  {"10.1.2.254", "10.1.2.253"},
                                                  {"10.1.2.255", "10.1.2.254"}};
    for (const auto& [pc, module] : cases) {
      for (int again = 0; again < 2; ++again) {  // the tab chosen twice
        rig.page.DeriveModuleIp(pc);
        QCOMPARE(rig.Text(1079), pc);
        QCOMPARE(rig.Text(1080), module);
        QCOMPARE(rig.page.moduleIp, module);
        QCOMPARE(rig.page.hostIp, pc);
      }
    }
    // No adapter, or an address that does not read: said so, not guessed.
    rig.page.DeriveModuleIp("");
    QCOMPARE(rig.Text(1079), QString("no PC address"));
    QCOMPARE(rig.Text(1080), QString("unknown (no PC address)"));
    QCOMPARE(rig.page.moduleIp, QString());
    rig.page.DeriveModuleIp("10.1.x");
    QCOMPARE(rig.Text(1079), QString("10.1.x"));
    QCOMPARE(rig.Text(1080), QString("unknown (no PC address)"));
  }

  void openButtonAndRunTftp() {
    UpgraderRig rig;
    rig.Click(1074);
    QCOMPARE(rig.Text(1074), QString("Serial Close"));
    QVERIFY(rig.line.serialOpen);
    rig.Click(1074);
    QCOMPARE(rig.Text(1074), QString("Serial Open"));
    QCOMPARE(rig.switches, (QList<int>{1, 0}));
    rig.Click(1072);
    QCOMPARE(
        rig.p.launcher.started,
        (QList<QStringList>{{"program", QCoreApplication::applicationDirPath() + "/torvek-tftp"}}));
  }

  void startRefusesWithoutPortOrTicks() {
    UpgraderRig rig;
    rig.Tick({1065});
    rig.p.prompter.Expect({" Open Serial Port"});
    rig.Click(1068);
    QVERIFY(!rig.line.upgradeActive);
    QVERIFY(!rig.Locked());
    rig.line.serialOpen = true;
    rig.Tick({});
    rig.p.prompter.Expect({" check update factor at the check box"});
    rig.Click(1068);
    QVERIFY(!rig.line.upgradeActive);
    QVERIFY(ById(rig.page, 1068)->isEnabled());
    QVERIFY(rig.p.prompter.Pending().isEmpty());
    QCOMPARE(rig.p.prompter.unexpected, 0);
  }

  void stopBeforeTheBootLoaderEndsTheBreakIn() {
    LineRig rig;
    QVERIFY(rig.Open());
    rig.page.DeriveModuleIp("10.1.2.3");
    rig.Tick({1066});  // only the box hidden for U-Boot: the check passes
    ById<QComboBox>(rig.page, 1081)->setCurrentIndex(1);
    rig.Click(1068);
    QVERIFY(rig.line.upgradeActive);
    QVERIFY(rig.Locked());
    QVERIFY(!ById(rig.page, 1068)->isEnabled());
    QVERIFY(ById(rig.page, 1073)->isEnabled() && ById(rig.page, 1072)->isEnabled());
    for (int id : {1069, 1071, 1078, 1082}) QCOMPARE(rig.Text(id), QString("Ready"));
    // Two ticks of 250 ms give two break-in bytes; the help text is gone.
    QCOMPARE(rig.Await("44", 2000), QByteArray("44"));
    QVERIFY(rig.Text(1082).startsWith("In Process : "));
    QVERIFY(!rig.page.LogText().contains("How to"));
    rig.Click(1073);
    QVERIFY(!rig.line.upgradeActive);
    QVERIFY(!rig.Locked());
    QVERIFY(ById(rig.page, 1068)->isEnabled());
    QCOMPARE(rig.page.upgradeStep(), 0u);
    QTest::qWait(200);  // what was on its way
    rig.pty.Read();
    QTest::qWait(600);
    QCOMPARE(rig.pty.Read(), QByteArray());
  }

  void redBootRunHoldsChunksBehindItsSleepAndEnds() {
    LineRig rig;
    QVERIFY(rig.Open());
    rig.page.DeriveModuleIp("10.1.2.3");
    rig.Tick({1065, 1077});
    rig.Click(1068);
    QCOMPARE(rig.Await(QByteArray(1, '\x03'), 2000), QByteArray(1, '\x03'));
    QElapsedTimer sleep;
    sleep.start();
    // The addresses' answer comes while the script sleeps: it is held back.
    rig.pty.Write("RedBoot> ");
    QCOMPARE(rig.AwaitCommand("\n\r"), QByteArray("ip_address -l 10.1.2.4 -h 10.1.2.3\n\r"));
    rig.pty.Write("Default server: 10.1.2.3\r\n");
    // The window is free meanwhile: a timer of the UI thread keeps running.
    int ticks = 0;
    QTimer probe;
    QObject::connect(&probe, &QTimer::timeout, [&] { ++ticks; });
    probe.start(20);
    QCOMPARE(rig.AwaitCommand("ap61.rom\n\r"), QByteArray("load -r -b 0x80100000 ap61.rom\n\r"));
    QVERIFY2(sleep.elapsed() >= 590, qPrintable(QString::number(sleep.elapsed())));
    QVERIFY(ticks >= 10);
    rig.pty.Write("Raw file loaded 0x80100000-0x8012ffff\r\n");
    QCOMPARE(rig.AwaitCommand("RedBoot\n\r"),
             QByteArray("fis create -l 0x30000 -e 0xbfc00000 RedBoot\n\r"));
    QCOMPARE(rig.Text(1069), QString("Image file is well downloaded via TFTP"));
    rig.pty.Write("An image named 'RedBoot' exists - continue (y/n)?");
    QCOMPARE(rig.AwaitCommand("y\r"), QByteArray("y\r"));
    QCOMPARE(rig.page.lastFlashStep(), 3);
    rig.pty.Write("RedBoot> ");
    QCOMPARE(rig.AwaitCommand("gw.bin\n\r"),
             QByteArray("load -r -b 0x80100000 cfg.GENERIC.KRL5506.gw.bin\n\r"));
    QCOMPARE(rig.Text(1069), QString("Flash writing is well done."));
    QCOMPARE(rig.Text(1078), QString("Ready"));
    auto* bar = rig.page.findChild<QProgressBar*>();
    QCOMPARE(bar->value(), 1);
    QCOMPARE(bar->maximum(), 2);
    rig.pty.Write("Raw file loaded\r\n");
    QCOMPARE(rig.AwaitCommand("cfg\n\r"), QByteArray("fis create -f 0xbffd0000 -e 0 cfg\n\r"));
    rig.pty.Write("continue (y/n)?");
    QCOMPARE(rig.AwaitCommand("y\r"), QByteArray("y\r"));
    rig.pty.Write("RedBoot> ");
    QCOMPARE(rig.AwaitCommand("reset\n\r"), QByteArray("reset\n\r"));
    QTRY_COMPARE(rig.Text(1082), QString("System is now rebooting !!!"));
    QCOMPARE(rig.p.beeper.beeps, 2);
    QVERIFY(!rig.line.upgradeActive);
    QVERIFY(!rig.Locked());
    QCOMPARE(bar->value(), 2);
    QCOMPARE(rig.Text(1078), QString("Flash writing is well done."));
    // The box shows the whole dialogue, both ways.
    QTRY_VERIFY(rig.page.LogText().contains("ip_address -l 10.1.2.4 -h 10.1.2.3\n"));
    const QString log = rig.page.LogText();
    for (const char* text : {"Default server: 10.1.2.3", "fis create -f 0xbffd0000 -e 0 cfg",
                             "An image named 'RedBoot' exists - continue (y/n)?"})
      QVERIFY2(log.contains(text), text);
  }

  void aLineThatNeverOpenedShowsOneBoxAtATime() {
    // Boxes that run their own loop, as the real ones do.
    struct ModalPrompter : torvek::test::ScriptedPrompter {
      int depth = 0;
      int deepest = 0;
      std::function<void()> closed;
      void Message(const QString& text, const QString& title) override {
        ScriptedPrompter::Message(text, title);
        deepest = std::max(deepest, ++depth);
        QTest::qWait(700);
        --depth;
        if (closed) closed();
      }
    } modal;
    UpgraderRig rig;
    Platform platform{modal,       rig.p.launcher, rig.p.beeper,
                      rig.p.clock, rig.p.adapters, rig.p.paths};
    SerialLine line{platform, rig.program};
    QObject::connect(&line, &SerialLine::Tell, &line,
                     [&modal](const QString& text, const QString& title) {
                       modal.Message(text, title);
                     });
    CUpgraderPage page{{platform, line, rig.program, rig}};
    line.serialOpen = true;  // the button was pressed, the open failed
    ById<QCheckBox>(page, 1065)->setChecked(true);
    modal.Expect({"Invalid handle", "Invalid handle"});
    // The operator gives up after the second box.
    modal.closed = [&] {
      if (modal.boxes.size() == 2) ById<QAbstractButton>(page, 1073)->click();
    };
    ById<QAbstractButton>(page, 1068)->click();
    QTRY_COMPARE_WITH_TIMEOUT(modal.boxes.size(), 2, 4000);
    QTRY_COMPARE(modal.depth, 0);
    QTest::qWait(300);
    QCOMPARE(modal.boxes.size(), 2);
    QCOMPARE(modal.deepest, 1);
    line.upgradeActive = 0;
  }

  void logBoxIsEmptiedAtItsLineLimit() {
    UpgraderRig rig;
    rig.line.upgradeActive = 1;
    // The help text's 16 lines count too.
    for (int i = 0; i < 4079; ++i) rig.page.OnSerialText(1, "line\r\n", 6);
    QCOMPARE(rig.page.LogText().count('\n'), 4095);
    rig.page.OnSerialText(1, "last\r\n", 6);
    QCOMPARE(rig.page.LogText(), QString("last\n"));
    rig.line.upgradeActive = 0;
  }
};

QTEST_MAIN(UpgraderPageTest)
#include "upgrader_page_test.moc"
