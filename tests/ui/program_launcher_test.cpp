// The launcher on a machine that lacks the programs it starts: the operator
// is told which one and what to install, once per program, and a program
// that is there gets its command as separate arguments.
#include <QApplication>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest/QTest>

#include "platform/program_launcher.h"
#include "scripted_prompter.h"

using namespace torvek;

namespace {

// A stand-in program that notes its arguments, one to a line.
void FakeProgram(const QString& dir, const QString& name, const QString& record) {
  QFile file(dir + "/" + name);
  QVERIFY(file.open(QIODevice::WriteOnly));
  file.write(QString("#!/bin/sh\nprintf '%s\\n' \"$@\" > '%1'\n").arg(record).toUtf8());
  file.close();
  file.setPermissions(file.permissions() | QFileDevice::ExeOwner);
}

}  // namespace

class ProgramLauncherTest : public QObject {
  Q_OBJECT
  QTemporaryDir bin;
  QByteArray path;

 private slots:
  void initTestCase() {
    // Nothing can be found but what the test puts into its own folder.
    path = qgetenv("PATH");
    qputenv("PATH", bin.path().toUtf8());
  }
  void cleanupTestCase() { qputenv("PATH", path); }

  void aMissingProgramIsToldOnceWithItsPackage() {
    test::ScriptedPrompter prompter;
    SystemLauncher launcher;
    launcher.SetPrompter(&prompter);
    prompter.Expect(
        {" No terminal window program found to run \"ping 10.77.128.1\". Install one "
         "(sudo apt install xterm)"});
    QVERIFY(!launcher.StartInTerminal({"ping", "10.77.128.1"}));
    QVERIFY(!launcher.StartInTerminal({"telnet", "10.77.128.1"}));
    // Hidden helpers fail silently.
    QVERIFY(!launcher.StartHidden("ip", {"neigh", "flush", "all"}));
    prompter.Expect(
        {" No program found to open /tmp/report.txt. Install the desktop's opener and "
         "a viewer (sudo apt install xdg-utils)"});
    QVERIFY(!launcher.OpenFile("/tmp/report.txt"));
    QVERIFY(!launcher.OpenUrl(QUrl("http://10.77.128.1")));
    QCOMPARE(prompter.boxes.size(), 2);

    // With a terminal, the program inside it is what is missing.
    const QString record = bin.path() + "/terminal.args";
    FakeProgram(bin.path(), "xterm", record);
    prompter.Expect({" Can not start telnet: it is not installed (sudo apt install telnet)"});
    QVERIFY(!launcher.StartInTerminal({"telnet", "10.77.128.1"}));
    QVERIFY(!launcher.StartInTerminal({"telnet", "10.77.128.2"}));
    FakeProgram(bin.path(), "ping", bin.path() + "/unused");
    QVERIFY(launcher.StartInTerminal({"ping", "10.77.128.1; reboot"}));
    const auto recorded = [&record] {
      QFile args(record);
      return args.open(QIODevice::ReadOnly) ? args.readAll() : QByteArray();
    };
    QTRY_COMPARE(recorded(), QByteArray("-e\nping\n10.77.128.1; reboot\n"));
    QCOMPARE(prompter.boxes.size(), 3);
  }
};

QTEST_MAIN(ProgramLauncherTest)
#include "program_launcher_test.moc"
