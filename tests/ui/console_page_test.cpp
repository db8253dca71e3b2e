// The Console page's template: controls, ids, texts and starting rows.
#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QtTest/QTest>

#include "control_by_id.h"
#include "scripted_prompter.h"
#include "terminals/console_host.h"
#include "terminals/console_page.h"
#include "terminals/serial_line.h"

using namespace torvek;
using torvek::test::ById;

namespace {

// The page alone, with a window around it that records what it is asked.
struct ConsoleRig : ConsoleHost {
  torvek::test::OfflinePlatform p;
  StartUpValues program;
  SerialLine line{p.platform, program};
  QList<int> switches;
  int steps = 0;
  CConsolePage page{{p.platform, line, program, *this}};

  bool LoadCommandList(const QString&) override { return true; }
  int NextCommandRow(int& count, int& row) override {
    count = 1;
    row = 0;
    return ++steps;
  }
  void PostSerialSwitch(int open) override { switches << open; }
};

}  // namespace

class ConsolePageTest : public QObject {
  Q_OBJECT

 private slots:
  void templateHoldsEveryControlWithItsTextAndStartingRow() {
    ConsoleRig rig;
    CConsolePage& page = rig.page;
    QCOMPARE(page.property("controlId").toInt(), 134);
    const struct {
      int id;
      const char* text;
    } buttons[] = {{1038, "Serial Port Open"}, {1050, "Auto Send"},    {1032, "send"},
                   {1033, "Load Data"},        {1035, "Clear Buffer"}, {1036, "Log Viewer"}};
    for (const auto& b : buttons) {
      auto* button = ById<QAbstractButton>(page, b.id);
      QVERIFY2(button, qPrintable(QString::number(b.id)));
      QCOMPARE(button->text(), QString(b.text));
    }
    QCOMPARE(ById<QLabel>(page, 1111)->text(), QString("Static"));
    QVERIFY(ById<QPlainTextEdit>(page, 1023));
    auto* input = ById<QLineEdit>(page, 1049);
    QCOMPARE(input->maxLength(), 99999);

    auto* interval = ById<QComboBox>(page, 1051);
    QCOMPARE(interval->count(), 24);
    QCOMPARE(interval->itemText(0), QString(" 100ms"));
    QCOMPARE(interval->itemText(17), QString("9000ms"));
    QCOMPARE(interval->itemText(18), QString("10 seconds"));
    QCOMPARE(interval->currentText(), QString("1000ms"));
    auto* terminator = ById<QComboBox>(page, 1034);
    QCOMPARE(terminator->count(), 4);
    QCOMPARE(terminator->currentText(), QString("no add"));
    QCOMPARE(terminator->itemText(1), QString("add 0a"));

    // Edits and combos carry the names of their labels.
    for (QLabel* label : page.findChildren<QLabel*>())
      if (label->text() == "Input:" || label->text() == "Interval:") QVERIFY(label->buddy());
  }

  void theTimerCountsTicksWhetherOrNotAutoSendIsTicked() {
    ConsoleRig rig;
    CConsolePage& page = rig.page;
    QCOMPARE(page.autoSendCount, 0);
    ById<QComboBox>(page, 1051)->setCurrentIndex(2);  // 300 ms
    page.OnAutoSendTick();
    page.OnAutoSendTick();
    QCOMPARE(page.autoSendCount, 2);
    page.OnAutoSendTick();
    QCOMPARE(page.autoSendCount, 0);
  }

  void theOpenButtonAsksTheWindowAndAutoSendWalksTheList() {
    ConsoleRig rig;
    CConsolePage& page = rig.page;
    auto* open = ById<QAbstractButton>(page, 1038);
    open->click();
    QCOMPARE(rig.switches, QList<int>{1});
    QVERIFY(rig.line.serialOpen);
    QCOMPARE(open->text(), QString("Serial Port Close"));
    open->click();
    QCOMPARE(rig.switches, (QList<int>{1, 0}));
    QVERIFY(!rig.line.serialOpen);
    QCOMPARE(open->text(), QString("Serial Port Open"));

    // Each due tick with Auto Send ticked takes one step of the window's walk
    // and shows where the log goes; with the line closed nothing is sent.
    rig.program.dailyLogPath = "/tmp/today.txt";
    ById<QComboBox>(page, 1051)->setCurrentIndex(0);  // every tick
    page.OnAutoSendTick();
    QCOMPARE(rig.steps, 0);
    ById<QAbstractButton>(page, 1050)->click();
    page.OnAutoSendTick();
    page.OnAutoSendTick();
    QCOMPARE(rig.steps, 2);
    QCOMPARE(ById<QLabel>(page, 1111)->text(), QString("/tmp/today.txt"));
    QVERIFY(rig.p.prompter.boxes.isEmpty());
  }
};

QTEST_MAIN(ConsolePageTest)
#include "console_page_test.moc"
