// The main window's template: controls, ids, texts, what shows and what does not.
#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QPushButton>
#include <QTabWidget>
#include <QtTest/QTest>

#include "app/main_dialog.h"
#include "control_by_id.h"
#include "controls/cell_color_list.h"
#include "scripted_prompter.h"

using namespace torvek;

class MainWindowTest : public QObject, test::OfflinePlatform {
  Q_OBJECT

 private slots:
  void templateHoldsEveryControlWithItsTextAndVisibility() {
    CMainDlg dialog(platform);
    QCOMPARE(dialog.property("controlId").toInt(), 102);
    QCOMPARE(dialog.windowTitle(), QString("Torvek Ver 1.4"));
    QCOMPARE(dialog.minimumSize(), dialog.maximumSize());
    dialog.show();

    struct Expect {
      int id;
      const char* text;
      bool shown;
    };
    const Expect buttons[] = {
        {1000, "Find Devices", true},     {1004, "Ping Test", true}, {1005, "Open Telnet", true},
        {1003, "Open Web Browser", true}, {3, "Serial Setup", true}, {1046, "Use LAN IP", true},
        {1002, "DOS Command", false},     {1, "exit", false},        {2, "Cancel", false},
    };
    for (const Expect& e : buttons) {
      auto* button = qobject_cast<QAbstractButton*>(test::ById(dialog, e.id));
      QVERIFY2(button, qPrintable(QString::number(e.id)));
      QCOMPARE(button->text(), QString(e.text));
      QCOMPARE(button->isVisible(), e.shown);
    }
    QVERIFY(qobject_cast<QPushButton*>(test::ById(dialog, 1000))->isDefault());
    QVERIFY(qobject_cast<QCheckBox*>(test::ById(dialog, 1046))->isChecked());
    QCOMPARE(dialog.modules().useLanIp, 1);

    auto* modules = qobject_cast<CCellColorList*>(test::ById(dialog, 1001));
    auto* commands = qobject_cast<CCellColorList*>(test::ById(dialog, 1007));
    QVERIFY(modules && commands);
    QVERIFY(modules->isVisible());
    QVERIFY(!commands->isVisible());
    QCOMPARE(modules->geometry(), commands->geometry());
    QVERIFY(!modules->accessibleName().isEmpty());
    auto* tabs = qobject_cast<QTabWidget*>(test::ById(dialog, 1006));
    QVERIFY(tabs);
    // The pages stand to the right of the list, the buttons below it.
    QVERIFY(tabs->geometry().left() >= modules->geometry().right());
    QVERIFY(test::ById(dialog, 1000)->geometry().top() > modules->geometry().bottom());
  }

  void escapeAndExitEndTheDialog() {
    CMainDlg dialog(platform);
    dialog.show();
    QTest::keyClick(&dialog, Qt::Key_Escape);
    QVERIFY(!dialog.isVisible());
    QCOMPARE(dialog.result(), int(QDialog::Rejected));
  }
};

QTEST_MAIN(MainWindowTest)
#include "main_window_test.moc"
