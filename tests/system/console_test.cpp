// The command list, the shortcuts and the Console page in the real window,
// talking to a peer over a pseudo-terminal pair.
#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRegularExpression>
#include <QScrollBar>
#include <QtTest/QTest>

#include "control_by_id.h"
#include "controls/cell_color_list.h"
#include "core/module_record.h"
#include "module_rows.h"
#include "pty_pair.h"
#include "system_fixture.h"
#include "terminals/console_page.h"
#include "terminals/serial_line.h"

using namespace torvek;
using namespace torvek::test;

namespace {

void WriteFile(const QString& path, const QByteArray& content) {
  QFile file(path);
  QVERIFY(file.open(QIODevice::WriteOnly));
  file.write(content);
}

void ClickRow(CCellColorList& list, int row) {
  const QRect cell = list.visualRect(list.model().index(row, 1));
  QTest::mouseClick(list.viewport(), Qt::LeftButton, {}, cell.center());
}

QStringList Row(CCellColorList& list, int row) {
  QStringList out;
  for (int c = 0; c < 4; ++c) out << list.GetItemText(row, c);
  return out;
}

}  // namespace

class ConsoleTest : public QObject {
  Q_OBJECT

 private slots:
  void commandListRowsClicksAndTheWalk() {
    LabWindow w;
    WriteFile(w.dir.filePath("command_list.txt"),
              "ver;ver;show the version\r\na;b;c;d\r\nno semicolon\n\n");
    w.dialog.modules().selectedRow = 4;
    QVERIFY(w.dialog.OnInitDialog());
    w.dialog.show();
    w.dialog.ShowTab(2);
    CCellColorList& list = w.dialog.commandList();
    QVERIFY(list.isVisible());
    QCOMPARE(list.model().headerData(2, Qt::Horizontal, Qt::DisplayRole).toString(),
             QString("Command send"));
    QCOMPARE(list.columnWidth(3), 340);
    QCOMPARE(list.RowCount(), 4);
    QCOMPARE(Row(list, 0), (QStringList{"1", "ver", "ver", "show the version"}));
    QCOMPARE(Row(list, 1), (QStringList{"2", "a", "b", "c;d"}));
    QCOMPARE(Row(list, 2), (QStringList{"3", "", "", "no semicolon"}));
    QCOMPARE(Row(list, 3), (QStringList{"4", "", "", ""}));
    QCOMPARE(w.dialog.modules().selectedRow, -1);

    auto* input = ById<QLineEdit>(*w.dialog.consolePage, 1049);
    ClickRow(list, 1);
    QCOMPARE(input->text(), QString("b"));
    QCOMPARE(w.dialog.commands().commandRow, 1);

    // The walk goes on from the clicked row, marks it red and wraps.
    int count = 0, row = -1;
    QVERIFY(w.dialog.NextCommandRow(count, row));
    QCOMPARE(count, 4);
    QCOMPARE(row, 1);
    QCOMPARE(list.GetCellBackground(1, 3), Color{0x0000FF});
    QVERIFY(w.dialog.NextCommandRow(count, row) && row == 2);
    QCOMPARE(list.GetCellBackground(1, 0), Color{0xFFFFFF});
    QCOMPARE(list.GetCellBackground(2, 0), Color{0x0000FF});
    QVERIFY(w.dialog.NextCommandRow(count, row) && row == 3);
    QVERIFY(w.dialog.NextCommandRow(count, row) && row == 0);
    QCOMPARE(input->text(), QString("ver"));

    // A click below the last row drops the module selection.
    w.dialog.modules().selectedRow = 0;
    QTest::mouseClick(list.viewport(), Qt::LeftButton, {},
                      QPoint(20, list.viewport()->height() - 5));
    QCOMPARE(w.dialog.modules().selectedRow, -1);

    // A long list: the picture moves one row per step while the next row lies
    // below the control, and stays where it is after the wrap.
    QByteArray many;
    for (int i = 0; i < 60; ++i) many += "s;c" + QByteArray::number(i) + ";d\n";
    WriteFile(w.dir.filePath("many.txt"), many);
    QVERIFY(w.dialog.LoadCommandList(w.dir.filePath("many.txt")));
    w.dialog.commands().commandRow = w.dialog.commands().previousCommandRow = -1;
    QScrollBar* bar = list.verticalScrollBar();
    const int visible = list.height() / list.rowHeight(0);
    int moves = 0;
    for (int i = 0; i < 60; ++i) {
      const int was = bar->value();
      QVERIFY(w.dialog.NextCommandRow(count, row));
      if (bar->value() != was) ++moves;
      QVERIFY(bar->value() >= was);
    }
    QCOMPARE(row, 59);
    QVERIFY2(moves > 0 && moves <= 60 - visible, qPrintable(QString::number(moves)));
    const int atEnd = bar->value();
    QVERIFY(w.dialog.NextCommandRow(count, row) && row == 0);
    QCOMPARE(bar->value(), atEnd);

    // A file that cannot be opened for writing counts as missing: empty list
    // (root writes anything, so there a missing file stands in for it).
    QString locked = w.dir.filePath("locked.txt");
    WriteFile(locked, "x;y;z\n");
    QFile::setPermissions(locked, QFile::ReadOwner);
    if (QFile(locked).open(QIODevice::ReadWrite)) locked = w.dir.filePath("missing.txt");
    QVERIFY(!w.dialog.LoadCommandList(locked));
    QCOMPARE(list.RowCount(), 0);
    QVERIFY(!w.dialog.NextCommandRow(count, row));
    QVERIFY(w.prompter.boxes.isEmpty());
  }

  void shortcutsStartTheirProgramsOnTheSelectedAddress() {
    LabWindow w;
    QVERIFY(w.dialog.OnInitDialog());
    test::AddModule(w.dialog.modules(), "10.77.128.1", "172.16.0.1");
    test::AddModule(w.dialog.modules(), "10.77.128.2");
    auto click = [&](int id) { ById<QPushButton>(w.dialog, id)->click(); };

    w.prompter.Expect(QStringList(3, " Select system at the List"));
    click(1004);
    click(1005);
    click(1003);
    QCOMPARE(w.prompter.Texts(), QStringList(3, " Select system at the List"));
    QVERIFY(w.launcher.started.isEmpty());

    w.dialog.modules().selectedRow = 0;
    click(1004);
    click(1005);
    click(1003);
    ById<QCheckBox>(w.dialog, 1046)->setChecked(false);
    click(1003);
    w.dialog.modules().selectedRow = 1;  // no WAN address: the programs get an empty one
    click(1005);
    w.dialog.OnDosCommand();
    QCOMPARE(w.launcher.started, (QList<QStringList>{{"terminal", "ping", "10.77.128.1"},
                                                     {"terminal", "telnet", "10.77.128.1"},
                                                     {"url", "http://10.77.128.1"},
                                                     {"url", "http://172.16.0.1:8080"},
                                                     {"terminal", "telnet", ""},
                                                     {"terminal"}}));

    // With a single module, Ping Test takes it without a selection.
    w.launcher.started.clear();
    ById<QCheckBox>(w.dialog, 1046)->setChecked(true);
    w.dialog.modules().DeleteAllRows();
    test::AddModule(w.dialog.modules(), "10.77.128.9");
    w.dialog.modules().selectedRow = -1;
    click(1004);
    QCOMPARE(w.dialog.modules().selectedRow, 0);
    QCOMPARE(w.launcher.started, (QList<QStringList>{{"terminal", "ping", "10.77.128.9"}}));
  }

  void consoleTalksToAPeerLogsTheDialogueAndAutoSendsTheList() {
    LabWindow w;
    const QString dir = w.dir.path() + "/";
    PtyPair pty(dir + "COM1", dir + "peer1");
    PtyPair other(dir + "COM2", dir + "peer2");
    QVERIFY(pty.Start() && other.Start());
    WriteFile(w.dir.filePath("command_list.txt"), "s;cmd0;d\ns;cmd1;d\ns;cmd2;d\n");
    QVERIFY(w.dialog.OnInitDialog());
    w.dialog.show();
    w.dialog.ShowTab(2);
    QWidget& page = *w.dialog.consolePage;
    auto* openButton = ById<QAbstractButton>(page, 1038);
    auto* box = ById<QPlainTextEdit>(page, 1023);
    auto* input = ById<QLineEdit>(page, 1049);
    auto* terminator = ById<QComboBox>(page, 1034);
    auto* interval = ById<QComboBox>(page, 1051);
    QCOMPARE(terminator->itemText(3), QString("add 0a&0d"));
    QCOMPARE(interval->currentText(), QString("1000ms"));
    QVERIFY(!QFile::exists(w.dialog.startUp.serialConfigPath));

    // First open without a settings file: the defaults are saved, COM1 opens.
    openButton->click();
    QCOMPARE(openButton->text(), QString("Serial Port Close"));
    QTRY_VERIFY(w.dialog.SerialReaderRunning());
    QCOMPARE(QFileInfo(w.dialog.startUp.serialConfigPath).size(), 24);

    pty.Write("boot text\r\n");
    QTRY_VERIFY(box->toPlainText().contains("boot text"));

    terminator->setCurrentIndex(3);
    input->setText("ver");
    ById<QAbstractButton>(page, 1032)->click();
    QCOMPARE(input->text(), QString());
    QByteArray got;
    QTRY_COMPARE((got += pty.Read()), QByteArray("ver\r\n"));
    QTest::qWait(120);
    // Apart, so that each is a read of its own.
    pty.Write("ver\r\n");  // the echo stays out of the file
    QTest::qWait(50);
    pty.Write("Version 1\r\n");
    QTest::qWait(50);
    pty.Write("<ORB740> ");
    QTRY_VERIFY(box->toPlainText().contains("<ORB740>"));
    const QString shown = box->toPlainText();
    QVERIFY2(QRegularExpression("\nTX-\\[\\d\\d:\\d\\d:\\d\\d\\]ver\n").match(shown).hasMatch(),
             qPrintable(shown));
    QVERIFY2(QRegularExpression("Version 1\n\nRX-\\[\\d\\d:\\d\\d:\\d\\d\\]<ORB740> $")
                 .match(shown)
                 .hasMatch(),
             qPrintable(shown));

    QFile log(w.dialog.startUp.dailyLogPath);
    QVERIFY(log.open(QIODevice::ReadOnly));
    const QByteArray body = log.readAll().split('\n').mid(3).join('\n');
    const QRegularExpression expected(
        "^boot text\r\nver\r\n  Version 1\r\n<ORB740>  gapT=(\\d+)ms\n$");
    const auto match = expected.match(QString::fromLatin1(body));
    QVERIFY2(match.hasMatch(), body.constData());
    QVERIFY(match.captured(1).toInt() >= 120 && match.captured(1).toInt() < 2000);

    // Auto Send walks the list at the chosen period with the chosen terminator.
    terminator->setCurrentIndex(2);
    interval->setCurrentIndex(0);
    ById<QCheckBox>(page, 1050)->setChecked(true);
    got.clear();
    QTRY_VERIFY_WITH_TIMEOUT((got += pty.Read()).size() >= 20, 5000);
    ById<QCheckBox>(page, 1050)->setChecked(false);
    QVERIFY2(got.startsWith("cmd0\ncmd1\ncmd2\ncmd0\n"), got.constData());
    QCOMPARE(ById<QLabel>(page, 1111)->text(), w.dialog.startUp.dailyLogPath);

    // The dialog's choice acts at the next open, not on the open port.
    w.prompter.onDialog = [](QDialog& d) {
      ById<QComboBox>(d, 1173)->setCurrentIndex(1);
      return int(QDialog::Accepted);
    };
    QTest::qWait(300);
    pty.Read();
    w.dialog.OnSerialSetup();
    input->setText("one");
    terminator->setCurrentIndex(0);
    ById<QAbstractButton>(page, 1032)->click();
    got.clear();
    QTRY_COMPARE((got += pty.Read()), QByteArray("one"));
    openButton->click();
    QTRY_VERIFY(!w.dialog.SerialReaderRunning());
    QCOMPARE(openButton->text(), QString("Serial Port Open"));
    pty.Write("after close<\n");
    openButton->click();
    QTRY_VERIFY(w.dialog.SerialReaderRunning());
    // An empty line with no terminator goes out as one LF.
    ById<QAbstractButton>(page, 1032)->click();
    QByteArray second;
    QTRY_COMPARE((second += other.Read()), QByteArray("\n"));
    QTest::qWait(100);
    QVERIFY(!box->toPlainText().contains("after close"));

    // Enter in the page sends, Esc does nothing; neither ends the window.
    input->setText("enter");
    QTest::keyClick(input, Qt::Key_Return);
    QTest::keyClick(input, Qt::Key_Escape);
    second.clear();
    QTRY_COMPARE((second += other.Read()), QByteArray("enter"));
    QVERIFY(w.dialog.isVisible());

    // During an upgrade run the chunks and the sent texts go to the script's
    // sink, not to the console.
    QList<QPair<int, QByteArray>> script;
    w.dialog.serialLine().SetScriptSink([&](int direction, const QByteArray& text, int length) {
      QCOMPARE(length, int(text.size()));
      script.append({direction, text});
    });
    w.dialog.consolePage->FlushOutput();
    const QString before = box->toPlainText();
    w.dialog.serialLine().upgradeActive = 1;
    other.Write("abc\r\nRedBoot> ");
    QTRY_COMPARE(script.size(), 3);
    w.dialog.SendSerialText("fis list\r");
    w.dialog.serialLine().upgradeActive = 0;
    QCOMPARE(script, (QList<QPair<int, QByteArray>>{
                         {0, "abc\r"}, {0, "\n"}, {0, "RedBoot>"}, {1, "fis list\r"}}));
    QTRY_COMPARE((second += other.Read()), QByteArray("enterfis list\r"));
    QTest::qWait(50);
    QCOMPARE(box->toPlainText(), before);

    // Clear Buffer empties only the box; Log Viewer opens the file; Load Data
    // reads the chosen list.
    ById<QAbstractButton>(page, 1035)->click();
    QCOMPARE(box->toPlainText(), QString());
    QVERIFY(QFileInfo(w.dialog.startUp.dailyLogPath).size() > 100);
    ById<QAbstractButton>(page, 1036)->click();
    QCOMPARE(w.launcher.started, (QList<QStringList>{{"open", w.dialog.startUp.dailyLogPath}}));
    WriteFile(w.dir.filePath("other.txt"), "x;y;z\n");
    w.prompter.fileNames << w.dir.filePath("other.txt") << QString();
    ById<QAbstractButton>(page, 1033)->click();
    QCOMPARE(w.dialog.commandList().RowCount(), 1);
    QCOMPARE(w.prompter.openDirectories, QStringList{w.dialog.startUp.programDir});
    ById<QAbstractButton>(page, 1033)->click();  // cancelled: the list stays
    QCOMPARE(w.dialog.commandList().RowCount(), 1);
    QVERIFY(w.prompter.boxes.isEmpty());
  }

  void aPortThatCannotOpenTellsTheOperator() {
    LabWindow w;
    QVERIFY(w.dialog.OnInitDialog());
    w.dialog.serialLine().serialConfig.port = 96;  // COM97: no such device here
    const QStringList openFailure{"COM97", "Open Fail:Com97 ",
                                  "Check Serial port and other properities"};
    w.prompter.Expect(openFailure);
    w.dialog.OnSerialSwitch(1);
    QVERIFY(!w.dialog.SerialReaderRunning());
    QCOMPARE(w.prompter.Texts(), openFailure);
    QCOMPARE(w.prompter.boxes.first().title, QString(" com port  initial error"));
    w.prompter.boxes.clear();
    w.prompter.Expect({"Invalid handle"});
    w.dialog.SendSerialText("x");
    w.dialog.SendSerialText("");
    QCOMPARE(w.prompter.Texts(), QStringList{"Invalid handle"});
  }
};

TORVEK_LAB_MAIN(ConsoleTest)
#include "console_test.moc"
