// Mac writing against virtual modules in the lab: ten manual writes in a row,
// the counter file and the keyboard log after each, and the modules found
// again under their new addresses by the search after the reboot.
#include <QApplication>
#include <QDate>
#include <QFile>
#include <QtTest/QTest>

#include "controls/cell_color_list.h"
#include "controls/status_label.h"
#include "core/module_record.h"
#include "production/mac_writer_page.h"
#include "system_fixture.h"

using namespace torvek;
using namespace torvek::test;

namespace {

const QString kWritten = "Success Mac Writing (system is rebooting)";

QString Read(const QString& path) {
  QFile file(path);
  return file.open(QIODevice::ReadOnly) ? QString::fromLatin1(file.readAll()) : QString();
}

QStringList ListedMacs(CMainDlg& d) {
  QStringList macs;
  for (int row = 0; row < d.ModuleList().RowCount(); ++row)
    macs << d.ModuleList().GetItemText(row, kColMac);
  macs.sort();
  return macs;
}

// Writes every module of the list that still has its factory address, one
// after the other, as an operator would: click its row, press Mac Write,
// wait for the success text. Gives the counter file after each write.
QStringList WriteAll(LabWindow& w, int count, const QString& factoryPrefix) {
  CMainDlg& d = w.dialog;
  CMacWriterPage& page = *d.macWriterPage;
  QStringList counters;
  for (int n = 0; n < count; ++n) {
    int row = -1;
    const bool listed = QTest::qWaitFor(
        [&] {
          for (int r = 0; r < d.ModuleList().RowCount() && row < 0; ++r)
            if (d.ModuleList().GetItemText(r, kColMac).startsWith(factoryPrefix)) row = r;
          return row >= 0;
        },
        5000);
    if (!listed) return counters;
    d.SelectRow(row);
    page.statusLabel().SetText({});
    page.OnMacWrite();
    if (!QTest::qWaitFor([&] { return page.statusLabel().text() == kWritten; }, 5000))
      return counters;
    counters << Read(page.session().macFilePath);
  }
  return counters;
}

}  // namespace

class MacWriteTest : public QObject {
  Q_OBJECT

 private slots:
  void tenManualWritesPerModelAndTheModulesReturnUnderTheirNewAddresses() {
    LabWindow w;
    CMainDlg& d = w.dialog;
    const QString macLog = w.dir.path() + "/macs.log";
    const QString keyboardLog =
        w.dir.path() + QString("/keyboard_%1.txt").arg(QDate::currentDate().toString("yyyy_M_d"));
    {
      ModSim sim({"--count", "10", "--models", "740", "--mac-reboot-ms", "1500", "--mac-log",
                  macLog, "--quiet"});
      QVERIFY(sim.Start());
      QVERIFY(d.OnInitDialog());
      QTRY_COMPARE(d.ModuleList().RowCount(), 10);
      const QStringList counters = WriteAll(w, 10, "00-0E-E3");
      QCOMPARE(counters.size(), 10);
      for (int n = 0; n < 10; ++n)
        QCOMPARE(counters[n], QString("%1\n5038\n").arg(1 + 4 * (n + 1), 0, 16));
      // Each write's own search left the rebooting modules out of the list.
      QVERIFY(d.ModuleList().RowCount() < 10);

      // Fifteen seconds after the last write, the search of the timer.
      const qsizetype searches = sim.FramesOf(1).size();
      QTRY_VERIFY_WITH_TIMEOUT(sim.FramesOf(1).size() > searches, 17000);
      QTRY_COMPARE(d.ModuleList().RowCount(), 10);
      QStringList expected;
      for (int n = 0; n < 10; ++n)
        expected << QString("00-50-38-00-00-%1").arg(1 + 4 * n, 2, 16, QChar('0')).toUpper();
      expected.sort();
      QCOMPARE(ListedMacs(d), expected);
    }
    const QStringList lines = Read(keyboardLog).split('\n', Qt::SkipEmptyParts);
    QCOMPARE(lines.size(), 10);
    for (int n = 0; n < 10; ++n)
      QCOMPARE(lines[n].section(',', 1),
               QString("005038%1,no scan,OK").arg(1 + 4 * n, 6, 16, QChar('0')));

    // ORB730 modules, answering with 57: steps of 2 from where the counter stands.
    ModSim sim({"--count", "10", "--models", "730", "--mac-answer", "57", "--mac-base",
                "000EE4000001", "--mac-reboot-ms", "300", "--mac-log", macLog, "--quiet"});
    QVERIFY(sim.Start());
    d.OnFindDevices();
    QTRY_COMPARE(d.ModuleList().RowCount(), 10);
    const QStringList counters = WriteAll(w, 10, "00-0E-E4");
    QCOMPARE(counters.size(), 10);
    for (int n = 0; n < 10; ++n)
      QCOMPARE(counters[n], QString("%1\n5038\n").arg(41 + 2 * (n + 1), 0, 16));
    QTest::qWait(400);
    d.macWriterPage->OnTimer(kRebootTimer);
    QTRY_COMPARE(d.ModuleList().RowCount(), 10);
    QVERIFY(ListedMacs(d).first().startsWith("00-50-38-00-00-"));

    // Every address went to one module only.
    const QStringList given = Read(macLog).split('\n', Qt::SkipEmptyParts);
    QCOMPARE(given.size(), 20);
    QStringList newMacs;
    for (const QString& line : given) newMacs << line.section(' ', 1);
    newMacs.removeDuplicates();
    QCOMPARE(newMacs.size(), 20);
  }
};

TORVEK_LAB_MAIN(MacWriteTest)
#include "mac_write_test.moc"
