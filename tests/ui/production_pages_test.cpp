// The radio test page and the jig page on their own, offscreen: templates,
// choices, and the jig session's decisions and report with answers handed in
// as the socket would. No socket is opened here; the lab test does that.
#include <QAbstractButton>
#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QGroupBox>
#include <QLabel>
#include <QPlainTextEdit>
#include <QRadioButton>
#include <QRegularExpression>
#include <QtTest/QTest>

#include "control_by_id.h"
#include "controls/cell_table.h"
#include "core/module_directory.h"
#include "core/module_record.h"
#include "production/jig_page.h"
#include "production/radio_test_page.h"
#include "scripted_prompter.h"

using namespace torvek;
using torvek::test::ById;

namespace {

const QString kNoModule = "Module is not found, click serach button";
const QString kNotSelected = "Module is not selected at the list, Please select module first!!!";

struct JigRig : test::OfflinePlatform, SearchingSender {
  void AddModule(const std::string& ip, const std::string& mac) {
    Module module;
    module.lanIp = *ParseDotted(ip);
    module.mac = ParseMacText(mac);
    selection.AddModule(module);
  }
  // An answer as the socket hands it over.
  void Answer(std::uint8_t code, std::uint8_t result, const QByteArray& text) {
    QByteArray bytes;
    bytes.append(char(code)).append(char(result)).append('\0').append(text).append('\0');
    CNotifySocket& s = session.socket();
    s.receiveBuffer.fill(0);
    std::copy(bytes.begin(), bytes.end(), s.receiveBuffer.begin());
    s.receivedLength = static_cast<std::uint16_t>(bytes.size());
    session.OnJigAnswer(CNotifySocket::kData, bytes.size());
  }
  QByteArray Report() const {
    QFile file(session.ReportPath());
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
  }
  QString Label(int id) { return ById<QLabel>(page, id)->text(); }

  ModuleDirectory selection;
  int searches = 0;
  bool SendFrameAndSearch(std::uint8_t*) override { return false; }
  void StartSearch() override { ++searches; }
  JigSession session{{platform, selection, *this}};
  CJigPage page{session};
};

}  // namespace

class ProductionPagesTest : public QObject {
  Q_OBJECT

 private slots:
  void radioPageOffersThreeChoicesAndConfirmsTheCurrentOne() {
    test::ScriptedPrompter prompter;
    CRadioTestPage page(prompter);
    QCOMPARE(page.property("controlId").toInt(), 143);
    const QList<QPair<int, QString>> radios = {{1075, "ORB730wi ( Artheros Radio Test )"},
                                               {1078,
                                                "ORB730wi ( Artheros Radio Test with Serial )"},
                                               {1077, "ORB740wi (Ralink Radio Testing )"}};
    for (const auto& [id, text] : radios) QCOMPARE(ById<QRadioButton>(page, id)->text(), text);
    QCOMPARE(page.findChild<QGroupBox*>()->title(), QString("Select Connect Module"));
    QCOMPARE(ById<QAbstractButton>(page, 1068)->text(), QString("start test program"));
    bool noticeShown = false;
    for (QLabel* label : page.findChildren<QLabel*>())
      noticeShown |= label->text() ==
                     "Test Only, it will be impleated soon  and new version will be  released";
    QVERIFY(noticeShown);

    auto* box = ById<QPlainTextEdit>(page, 1023);
    QVERIFY(ById<QRadioButton>(page, 1075)->isChecked());
    QCOMPARE(box->toPlainText(), QString("atheros radio test via network communication"));
    QCOMPARE(page.radioChoice, 1075);

    ById<QRadioButton>(page, 1078)->click();
    QCOMPARE(page.radioChoice, 1078);
    QCOMPARE(box->toPlainText(), QString("atheros radio test via serial communication"));
    QVERIFY(!ById<QRadioButton>(page, 1075)->isChecked());
    page.SelectRadioTest(1077);
    QVERIFY(ById<QRadioButton>(page, 1077)->isChecked());
    QCOMPARE(page.radioChoiceText, QString("Ralink radio test via network communication"));

    // Each press is the one box, and the choice stays.
    prompter.Expect({page.radioChoiceText, page.radioChoiceText});
    ById<QAbstractButton>(page, 1068)->click();
    ById<QAbstractButton>(page, 1068)->click();
    QVERIFY(prompter.Pending().isEmpty());
    QCOMPARE(page.radioChoice, 1077);
    QCOMPARE(box->toPlainText(), page.radioChoiceText);
  }

  void jigTemplateHidesAllButTheTwoRowsAndItsTwoButtons() {
    JigRig rig;
    QWidget& page = rig.page;
    QCOMPARE(page.property("controlId").toInt(), 138);
    struct Row {
      int button;
      const char* text;
      bool shown;
      int result;
      int hint;
      const char* hintText;
    };
    const Row rows[] = {
        {1052, "port #0", false, 1062, 1082, "ping to g/w"},
        {1053, "port #1", false, 1063, 1083, "ping to 10.10.10.11"},
        {1054, "port #2", false, 1064, 1084, "ping to 10.10.10.12"},
        {1055, "port #3", false, 1065, 1085, "ping to 10.10.10.13"},
        {1056, "port #4", false, 1066, 1086, "ping to 10.10.10.14"},
        {1072, "port #5(MII)", false, 1073, 1092, "ping to 10.10.10.14"},
        {1057, "usb", true, 1067, 1087, "check /proc/bus/usb"},
        {1058, "spi", false, 1068, 1088, "not implemented"},
        {1059, "Serial Port #1", false, 1069, 1089, "UART#1 and UART #2 loop"},
        {1074, "Serial Port #2", false, 1075, 1093, "UART#1 and UART #2 loop"},
        {1060, "wlan", true, 1070, 1090, "ping to 10.10.10.16"},
    };
    for (const Row& r : rows) {
      auto* button = ById<QAbstractButton>(page, r.button);
      QVERIFY2(button, r.text);
      QCOMPARE(button->text(), QString(r.text));
      QCOMPARE(button->isVisibleTo(&page), r.shown);
      QVERIFY(!button->isEnabled());
      QCOMPARE(rig.Label(r.result), QString("."));
      QCOMPARE(ById(page, r.result)->isVisibleTo(&page), r.shown);
      QCOMPARE(rig.Label(r.hint), QString(r.hintText));
      QVERIFY(!ById(page, r.hint)->isVisibleTo(&page));
    }
    const auto check = [&](int id, const QString& text, bool shown) {
      QWidget* w = ById(page, id);
      QVERIFY2(w, qPrintable(text));
      const auto* button = qobject_cast<QAbstractButton*>(w);
      QCOMPARE(button ? button->text() : qobject_cast<QLabel*>(w)->text(), text);
      QCOMPARE(w->isVisibleTo(&page), shown);
      QVERIFY(w->isEnabled());
    };
    check(1061, "All Test", true);
    check(1071, ".", false);
    check(1091, "Do the all Test", false);
    check(1035, "Clear Result", false);
    check(1036, "View Result", true);
    QCOMPARE(page.findChild<QGroupBox*>()->title(), QString("Reporting File "));
    QStringList labels;
    for (QLabel* label : page.findChildren<QLabel*>())
      if (label->isVisibleTo(&page)) labels << label->text();
    QVERIFY(labels.contains("File Name:"));
    // The fixed name, where it really is.
    QVERIFY(labels.contains(rig.dir.path() + "/halvorn_3g_test.txt"));
  }

  void requestGoesToTheOnlyModuleOrAsksForOne() {
    JigRig rig;
    // No module: the box, and the row waits all the same.
    rig.prompter.Expect({kNoModule});
    rig.session.OnRowTest(0x16);
    QCOMPARE(rig.Label(1067), QString(" Waiting... "));
    QVERIFY(rig.selection.selectedAddress.isEmpty());

    rig.AddModule("10.77.128.1", "00-0E-E3-00-00-01");
    rig.AddModule("10.77.128.2", "00-0E-E3-00-00-02");
    rig.prompter.Expect({kNotSelected});
    rig.session.SendJigRequest(0x30);
    QVERIFY(rig.selection.selectedAddress.isEmpty());

    // One module: its LAN address is taken, and kept after the list changes.
    rig.selection.DeleteAllRows();
    rig.AddModule("10.77.128.9", "00-0E-E3-00-00-09");
    rig.session.SendJigRequest(0x30);
    QCOMPARE(rig.selection.selectedAddress, QString("10.77.128.9"));
    rig.selection.DeleteAllRows();
    rig.session.SendJigRequest(0x30);
    QCOMPARE(rig.selection.selectedAddress, QString("10.77.128.9"));
    QVERIFY(rig.prompter.Pending().isEmpty());
  }

  void answersFillTheReportAndTheirRowsLabels() {
    JigRig rig;
    // With the list empty the MAC field is empty, its tab still written.
    rig.Answer(0x46, 1, "no usb device");
    QCOMPARE(rig.Report(), QByteArray("\t\tLAN GOOD\tUSB Fail"));
    QCOMPARE(rig.Label(1067), QString("no usb device"));
    rig.AddModule("10.77.128.1", "00-0E-E3-00-00-01");
    rig.Answer(0x46, 0, "usb found");
    rig.Answer(0x60, 0, "wlan pings");
    rig.Answer(0x40, 0, "port words");
    rig.Answer(0x41, 7, "port1 down");
    QCOMPARE(rig.Report(),
             QByteArray("\t\tLAN GOOD\tUSB Fail\t00-0E-E3-00-00-01\tLAN GOOD\tUSB GOOD"
                        "\tWLAN GOOD\tport0 GOOD\tport1 Fail"));
    QCOMPARE(rig.Label(1067), QString("usb found"));
    QCOMPARE(rig.Label(1070), QString("wlan pings"));
    QCOMPARE(rig.Label(1062), QString("GOOD"));
    QCOMPARE(rig.Label(1063), QString("port1 down"));

    // Unknown codes and receive errors: the box, and nothing written.
    const QByteArray before = rig.Report();
    rig.prompter.Expect({" Unknown Command", " Unknown Command", " Unknown Command"});
    rig.Answer(0x4A, 0, "x");
    rig.Answer(0x16, 0, "x");
    rig.session.OnJigAnswer(CNotifySocket::kFailed, 0);
    QVERIFY(rig.prompter.Pending().isEmpty());
    QCOMPARE(rig.Report(), before);

    // "Clear Result" empties every label.
    ById<QAbstractButton>(rig.page, 1035)->click();
    for (const JigRow& row : kJigRows) QCOMPARE(rig.Label(row.resultId), QString());

    // "View Result" opens the report.
    ById<QAbstractButton>(rig.page, 1036)->click();
    QCOMPARE(rig.launcher.started.last(), (QStringList{"open", rig.session.ReportPath()}));
  }

  void reportThatCannotOpenLosesEachFieldWithABox() {
    JigRig rig;
    QVERIFY(QDir().mkpath(rig.session.ReportPath()));  // a folder in its place
    rig.prompter.Expect({" data file open failed", " data file open failed",
                         " data file open failed", " data file open failed"});
    rig.Answer(0x46, 0, "usb found");
    QCOMPARE(rig.Label(1067), QString("usb found"));
    QVERIFY(!rig.session.AppendReport("x"));
    QVERIFY(rig.prompter.Pending().isEmpty());
  }

  // A run without modules, kept live: both requests are refused, the labels
  // wait, the report holds the run's date line, and the window works while it
  // runs.
  void allTestRunsItsStepsAtASecondsPaceWithoutHoldingTheWindow() {
    JigRig rig;
    rig.prompter.Expect({kNoModule, kNoModule});
    QElapsedTimer elapsed;
    elapsed.start();
    ById<QAbstractButton>(rig.page, 1061)->click();
    QCOMPARE(rig.searches, 1);
    QCOMPARE(rig.Label(1067), QString("Waiting...."));
    QCOMPARE(rig.Label(1062), QString("Waiting...."));
    QVERIFY(elapsed.elapsed() < 200);
    QVERIFY(rig.Report().isEmpty());
    QTRY_VERIFY_WITH_TIMEOUT(!rig.Report().isEmpty(), 1500);
    QVERIFY(elapsed.elapsed() >= 950);
    QVERIFY2(QRegularExpression(R"(^\t\n\d{4}-\d{1,2}-\d{1,2} [ \d]\d:[ \d]\d:[ \d]\d$)")
                 .match(QString::fromLatin1(rig.Report()))
                 .hasMatch(),
             rig.Report().constData());
    QTRY_COMPARE_WITH_TIMEOUT(rig.prompter.Pending().size(), 1, 1500);
    QVERIFY(elapsed.elapsed() >= 1950);
    QCOMPARE(rig.Label(1067), QString(" Waiting... "));
    QCOMPARE(rig.Label(1070), QString("Waiting...."));
    QTRY_VERIFY_WITH_TIMEOUT(rig.prompter.Pending().isEmpty(), 1500);
    QVERIFY(elapsed.elapsed() >= 2950);
    QCOMPARE(rig.Label(1070), QString(" Waiting... "));
    QCOMPARE(rig.Label(1062), QString("Waiting...."));
    QCOMPARE(rig.searches, 1);
  }

  void aNewPressStartsTheRunOver() {
    JigRig rig;
    rig.prompter.Expect({kNoModule, kNoModule});
    ById<QAbstractButton>(rig.page, 1061)->click();
    QTest::qWait(500);
    ById<QAbstractButton>(rig.page, 1061)->click();
    QTRY_VERIFY_WITH_TIMEOUT(rig.prompter.Pending().isEmpty(), 4000);
    QTest::qWait(1200);
    QCOMPARE(rig.searches, 2);
    // One date line: the first run ended at the second press.
    QCOMPARE(rig.Report().count('\n'), 1);
    QCOMPARE(rig.prompter.boxes.size(), 2);
  }

  void neighbourCacheIsFlushedEveryTwoSecondsWhileTheTabShows() {
    JigRig rig;
    const QStringList flush = {"hidden", "ip", "neigh", "flush", "all"};
    rig.page.SetArpFlush(true);
    QVERIFY(rig.page.ArpFlushEnabled());
    QTRY_COMPARE_WITH_TIMEOUT(rig.launcher.started.size(), 1, 2600);
    QCOMPARE(rig.launcher.started.first(), flush);
    QTRY_COMPARE_WITH_TIMEOUT(rig.launcher.started.size(), 2, 2600);
    rig.page.SetArpFlush(false);
    QVERIFY(!rig.page.ArpFlushEnabled());
    QTest::qWait(2300);
    QCOMPARE(rig.launcher.started.size(), 2);
  }
};

QTEST_MAIN(ProductionPagesTest)
#include "production_pages_test.moc"
