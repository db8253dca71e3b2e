// "All Test" in the real window against the jig service of virtual modules:
// the module found by itself, the report's record, the labels, the refusals
// without a module or with too many, and answers that are lost or unknown.
#include <QAbstractButton>
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QRegularExpression>
#include <QUuid>
#include <QtTest/QTest>

#include "control_by_id.h"
#include "controls/cell_color_list.h"
#include "production/jig_page.h"
#include "system_fixture.h"

using namespace torvek;
using namespace torvek::test;

namespace {

const QString kNoModule = "Module is not found, click serach button";
const QString kNotSelected = "Module is not selected at the list, Please select module first!!!";
const QString kDate = R"(\t\n\d{4}-\d{1,2}-\d{1,2} [ \d]\d:[ \d]\d:[ \d]\d)";
// Both requests are out 2 s after the press; answers come within a moment.
constexpr int kRunMs = 6000;

QString Request(const char* item) { return QString(item) + "01" + QString(256, '0'); }

struct JigLab {
  explicit JigLab(QStringList arguments, bool withSim = true)
      : jigLog(QDir::tempPath() + "/modsim-jig-" +
               QUuid::createUuid().toString(QUuid::Id128).left(12) + ".log"),
        sim(arguments << "--jig-log" << jigLog), withSim_(withSim) {}
  ~JigLab() { QFile::remove(jigLog); }

  bool Up(int rows) {
    if (withSim_ && !sim.Start()) return false;
    if (!w.dialog.OnInitDialog()) return false;
    if (!QTest::qWaitFor([&] { return w.dialog.ModuleList().RowCount() >= rows; }, 5000))
      return false;
    w.dialog.ShowTab(6);
    return true;
  }
  void AllTest() { ById<QAbstractButton>(page(), 1061)->click(); }
  CJigPage& page() { return *w.dialog.jigPage; }
  QString Label(int id) { return ById<QLabel>(page(), id)->text(); }
  QString Report() {
    QFile file(w.paths.FixedFile("halvorn_3g_test.txt"));
    return file.open(QIODevice::ReadOnly) ? QString::fromLatin1(file.readAll()) : QString();
  }
  // Requests the modules took, as "<module> <length> <hex>".
  QStringList Requests() const {
    QFile file(jigLog);
    QStringList out;
    if (!file.open(QIODevice::ReadOnly)) return out;
    for (const QString& line : QString::fromLatin1(file.readAll()).split('\n')) {
      const QStringList parts = line.split(' ');
      if (parts.size() == 4) out << parts[0] + " " + parts[2] + " " + parts[3];
    }
    return out;
  }

  QString jigLog;
  ModSim sim;
  LabWindow w;

 private:
  bool withSim_;
};

}  // namespace

class JigTest : public QObject {
  Q_OBJECT

 private slots:
  void allTestFindsTheOnlyModuleAndWritesItsRecord() {
    // Good USB and failed WLAN, then the other way round.
    const struct {
      QStringList options;
      const char* usbField;
      const char* wlanField;
      const char* usbText;
      const char* wlanText;
    } runs[] = {
        {{"--jig", "good", "--jig-text", "0x16=usb 2.0 hub found", "--jig-result", "0x30=3",
          "--jig-text", "0x30=ping to 10.10.10.16, no answer"},
         "USB GOOD",
         "WLAN Fail",
         "usb 2.0 hub found",
         "ping to 10.10.10.16, no answer"},
        {{"--jig", "fail", "--jig-result", "0x30=0", "--mac-base", "00-0E-E3-AB-CD-EF"},
         "USB Fail",
         "WLAN GOOD",
         "item 16 failed",
         "item 30 good"},
    };
    for (const auto& run : runs) {
      JigLab lab(run.options);
      QVERIFY(lab.Up(1));
      QVERIFY(lab.w.dialog.modules().selectedAddress.isEmpty());
      const QString mac = lab.w.dialog.ModuleList().GetItemText(0, 6);
      QElapsedTimer elapsed;
      elapsed.start();
      lab.AllTest();
      QCOMPARE(lab.Label(1067), QString("Waiting...."));
      QCOMPARE(lab.Label(1070), QString("Waiting...."));
      QTRY_COMPARE_WITH_TIMEOUT(lab.Label(1070), QString(run.wlanText), kRunMs);
      // The second request goes out a second after the first, two after the press.
      QVERIFY(elapsed.elapsed() >= 1900);
      QCOMPARE(lab.Label(1067), QString(run.usbText));
      QCOMPARE(lab.w.dialog.modules().selectedAddress, QString("10.77.128.1"));
      const QRegularExpression record("^" + kDate + "\\t" + mac + "\\tLAN GOOD\\t" + run.usbField +
                                      "\\t" + run.wlanField + "$");
      QVERIFY2(record.match(lab.Report()).hasMatch(), qPrintable(lab.Report()));
      QCOMPARE(lab.Requests(), (QStringList{"10.77.128.1 130 " + Request("16"),
                                            "10.77.128.1 130 " + Request("30")}));
      QCOMPARE(lab.w.prompter.unexpected, 0);
    }
  }

  void withoutAModuleBothItemsAskForASearch() {
    JigLab lab({}, false);
    QVERIFY(lab.Up(0));
    lab.w.prompter.Expect({kNoModule, kNoModule});
    lab.AllTest();
    QTRY_VERIFY_WITH_TIMEOUT(lab.w.prompter.Pending().isEmpty(), kRunMs);
    QCOMPARE(lab.Label(1067), QString(" Waiting... "));
    QCOMPARE(lab.Label(1070), QString(" Waiting... "));
    QVERIFY2(QRegularExpression("^" + kDate + "$").match(lab.Report()).hasMatch(),
             qPrintable(lab.Report()));
    QCOMPARE(lab.w.prompter.unexpected, 0);
  }

  void withTwoModulesAndNoneChosenNothingIsSent() {
    JigLab lab({"--count", "2", "--jig", "good"});
    QVERIFY(lab.Up(2));
    lab.w.prompter.Expect({kNotSelected, kNotSelected});
    lab.AllTest();
    QTRY_VERIFY_WITH_TIMEOUT(lab.w.prompter.Pending().isEmpty(), kRunMs);
    QCOMPARE(lab.Label(1067), QString(" Waiting... "));
    QCOMPARE(lab.Label(1070), QString(" Waiting... "));
    QTest::qWait(300);
    QVERIFY(lab.Requests().isEmpty());
    QCOMPARE(lab.w.prompter.unexpected, 0);

    // The module the operator clicked is asked, whichever row comes first.
    lab.w.dialog.SelectRow(1);
    const QString chosen = lab.w.dialog.modules().selectedAddress;
    QVERIFY(chosen.startsWith("10.77.128."));
    lab.AllTest();
    QTRY_COMPARE_WITH_TIMEOUT(lab.Label(1070), QString("item 30 good"), kRunMs);
    QCOMPARE(lab.Requests(),
             (QStringList{chosen + " 130 " + Request("16"), chosen + " 130 " + Request("30")}));
    QCOMPARE(lab.w.prompter.unexpected, 0);
  }

  void lostAndUnknownAnswersWriteNothing() {
    JigLab lab({"--jig", "good", "--jig-silent", "0x16", "--jig-code", "0x30=0x4a"});
    QVERIFY(lab.Up(1));
    lab.w.prompter.Expect({" Unknown Command"});
    lab.AllTest();
    QTRY_VERIFY_WITH_TIMEOUT(lab.w.prompter.Pending().isEmpty(), kRunMs);
    QTest::qWait(300);
    QCOMPARE(lab.Requests().size(), 2);
    QCOMPARE(lab.Label(1067), QString(" Waiting... "));
    QCOMPARE(lab.Label(1070), QString(" Waiting... "));
    QVERIFY2(QRegularExpression("^" + kDate + "$").match(lab.Report()).hasMatch(),
             qPrintable(lab.Report()));
    QCOMPARE(lab.w.prompter.unexpected, 0);
  }
};

TORVEK_LAB_MAIN(JigTest)
#include "jig_test.moc"
