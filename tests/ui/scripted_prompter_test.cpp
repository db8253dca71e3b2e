// The scripted prompter itself: a box, question or file dialog that a test did
// not expect fails that test and names the box. A set of such tests runs first
// on its own, its log in a file; the checks below read what it reported.
#include <QApplication>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest/QTest>

#include "admin/config_page.h"
#include "app/main_dialog.h"
#include "scripted_prompter.h"

using namespace torvek;

namespace {

// Each function but the last must fail, and only through the prompter.
class StrayBoxes : public QObject, public test::OfflinePlatform {
  Q_OBJECT

 private slots:
  void init() { prompter = {}; }

  void pageShowsABoxNobodyExpected() {
    CMainDlg main(platform);
    CConfigPage page(main.ConfigPageLinks());
    QVERIFY(!page.CheckImageFile(kModel730, 0, dir.filePath("missing.bin")));
    QCOMPARE(prompter.Texts(), QStringList{"Error:Invalid module(730) firmware file format"});
  }
  void boxOtherThanTheExpectedOne() {
    prompter.Expect({"first", "second"});
    prompter.Message("first", "One");
    prompter.Message("third", "Three");
    QCOMPARE(prompter.Texts(), (QStringList{"first", "third"}));
    QCOMPARE(prompter.Pending(), QStringList{"second"});
  }
  void questionWithNoAnswer() {
    QVERIFY(!prompter.AskYesNo("Stray question?", "Asking"));
    QCOMPARE(prompter.questions, QStringList{"Stray question?"});
  }
  void openDialogWithNoName() { QVERIFY(prompter.OpenFileName("Open stray", "*.txt").isEmpty()); }
  void saveDialogWithNoName() {
    QVERIFY(prompter.SaveFileName("Save stray", "x.txt", "*.txt").isEmpty());
  }
  void everythingExpectedPasses() {
    prompter.Expect({"one", "two"});
    prompter.answers << true;
    prompter.fileNames.append({"a.txt", "b.txt"});
    prompter.Message("one", {});
    QVERIFY(prompter.AskYesNo("Sure?"));
    prompter.Message("two", {});
    QCOMPARE(prompter.OpenFileName("Open", "*"), QString("a.txt"));
    QCOMPARE(prompter.SaveFileName("Save", "b", "*"), QString("b.txt"));
    QVERIFY(prompter.Pending().isEmpty());
    QCOMPARE(prompter.unexpected, 0);
  }
};

int strayFailures = -1;
QString strayLog;

}  // namespace

class ScriptedPrompterTest : public QObject {
  Q_OBJECT

  // The text of the log's FAIL line of a function, with its message.
  static QString FailureOf(const char* function) {
    const QRegularExpression line(
        QStringLiteral("^FAIL!  : StrayBoxes::%1\\(\\) (.*)$").arg(function),
        QRegularExpression::MultilineOption);
    return line.match(strayLog).captured(1);
  }

 private slots:
  void eachStrayFailsItsTestAndNamesTheBox() {
    QCOMPARE(strayFailures, 5);
    QCOMPARE(FailureOf("pageShowsABoxNobodyExpected"),
             QString("Unexpected box \"Error:Invalid module(730) firmware file format\" "
                     "(title \"\"); no box expected"));
    QCOMPARE(FailureOf("boxOtherThanTheExpectedOne"),
             QString("Unexpected box \"third\" (title \"Three\"); expected \"second\""));
    QCOMPARE(FailureOf("questionWithNoAnswer"),
             QString("Unexpected question \"Stray question?\" (title \"Asking\"); "
                     "no answer queued"));
    QCOMPARE(FailureOf("openDialogWithNoName"),
             QString("Unexpected file dialog \"Open stray\"; no name queued"));
    QCOMPARE(FailureOf("saveDialogWithNoName"),
             QString("Unexpected file dialog \"Save stray\"; no name queued"));
    // The strays failed nothing else: each test ran on to its end.
    QCOMPARE(strayLog.count("FAIL!"), 5);
    QVERIFY2(strayLog.contains("PASS   : StrayBoxes::everythingExpectedPasses()"),
             qPrintable(strayLog));
  }
};

int main(int argc, char** argv) {
  QApplication app(argc, argv);
  {
    QTemporaryDir logDir;
    const QString log = logDir.filePath("stray.txt");
    StrayBoxes stray;
    strayFailures = QTest::qExec(&stray, {app.applicationFilePath(), "-o", log + ",txt"});
    QFile file(log);
    if (file.open(QIODevice::ReadOnly)) strayLog = QString::fromUtf8(file.readAll());
  }
  ScriptedPrompterTest test;
  return QTest::qExec(&test, argc, argv);
}
#include "scripted_prompter_test.moc"
