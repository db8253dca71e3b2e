// Start-up and shutdown of the real program in the lab.
#include <sys/stat.h>

#include <QAction>
#include <QApplication>
#include <QDir>
#include <QLabel>
#include <QRegularExpression>
#include <QTabWidget>
#include <QUdpSocket>
#include <QtTest/QTest>
#include <ctime>

#include "admin/config_page.h"
#include "controls/cell_color_list.h"
#include "core/start_up_texts.h"
#include "production/jig_page.h"
#include "system_fixture.h"

using namespace torvek;
using namespace torvek::test;

class StartUpTest : public QObject {
  Q_OBJECT

 private slots:
  void realProgramSendsTheFirstSearchAndWritesItsLog() {
    ModSim sim({"--count", "2"});
    QVERIFY(sim.Start());
    QTemporaryDir dir;
    const QString program = dir.filePath("torvek");
    QVERIFY(QFile::copy(BinDir() + "/torvek", program));
    ChildProcess torvek;
    QVERIFY(torvek.Start(program, {}, dir.path()));

    // Exactly the 23 documented bytes, with the PC side's MAC, from port 7981.
    QTRY_VERIFY_WITH_TIMEOUT(!sim.LoggedFrames().isEmpty(), 15000);
    QCOMPARE(sim.LoggedFrames().first(),
             QString("10.77.0.1:7981 23 485501020000000000001f025456000001000000000000"));

    // The daily log: named by the start time, with its head.
    QStringList logs;
    QTRY_VERIFY((logs = QDir(dir.path()).entryList({"*.txt"})).size() == 1);
    QVERIFY2(QRegularExpression("^\\d{8}-\\d{8}\\.txt$").match(logs.first()).hasMatch(),
             qPrintable(logs.first()));
    QFile log(dir.filePath(logs.first()));
    QVERIFY(log.open(QIODevice::ReadOnly));
    const std::string path = (dir.path() + "/" + logs.first()).toStdString();
    QCOMPARE(QString::fromLocal8Bit(log.readAll()), QString::fromStdString(DailyLogHead(path)));

    // A second copy finds the port taken, says so and ends; the first goes on.
    {
      LabWindow second;
      const QStringList failures{
          "Port 7981 is already used!!!: check other program use the  port 7981",
          "SetSockOpt Error TX(3145728) ", " SendTo cmd Error(10038)= 1"};
      second.prompter.Expect(failures);
      QCOMPARE(second.dialog.DoModal(), int(QDialog::Rejected));
      QVERIFY(!second.dialog.isVisible());
      QCOMPARE(second.prompter.Texts(), failures);
      QCOMPARE(second.prompter.boxes.last().title, QString("Error"));
    }
    QTest::qWait(300);
    QVERIFY(torvek.Running());
    QUdpSocket probe;
    QVERIFY(!probe.bind(QHostAddress::AnyIPv4, 7981));  // still held by the first
    torvek.Terminate();
    QVERIFY(torvek.WaitForFinished(5000));
  }

  void startUpBringsUpPagesListsAndTitle() {
    ModSim sim({"--count", "3"});
    QVERIFY(sim.Start());
    LabWindow w;
    CMainDlg& d = w.dialog;
    QVERIFY(d.OnInitDialog());
    d.show();
    QVERIFY(w.prompter.boxes.isEmpty());
    QTRY_COMPARE(d.ModuleList().RowCount(), 3);

    auto* tabs = d.findChild<QTabWidget*>();
    QStringList titles;
    for (int i = 0; i < tabs->count(); ++i) titles << tabs->tabText(i);
    QCOMPARE(titles, QStringList({"IP ", "Network", "Console", "Upgrader", "Mac Writer",
                                  "Ceritification", "Jig_tool"}));
    QCOMPARE(tabs->currentIndex(), 0);
    QCOMPARE(d.modules().selectedRow, -1);
    QCOMPARE(d.modules().selectedModuleType, QString("G : default"));
    QCOMPARE(d.startUp.serialConfigPath, d.startUp.programDir + "serial_config.dat");
    QVERIFY(d.startUp.programDir.endsWith('/'));

    // The program file's time, as the C library writes it, in the title.
    struct stat info {};
    QCOMPARE(::stat(QCoreApplication::applicationFilePath().toLocal8Bit().constData(), &info), 0);
    QFileInfo file(QCoreApplication::applicationFilePath());
    const QDateTime when =
        file.birthTime().isValid() ? file.birthTime() : file.metadataChangeTime();
    const std::time_t seconds = static_cast<std::time_t>(when.toSecsSinceEpoch());
    const QString asc = QString::fromLatin1(std::asctime(std::localtime(&seconds))).left(24);
    QCOMPARE(d.windowTitle(), "Torvek V1.6 Mac (" + asc + ") :");
    QCOMPARE(d.startUp.baseTitle, d.windowTitle());

    // The console tab swaps the lists; the jig tab switches the ARP flush.
    QWidget* pageBefore = tabs->widget(1);
    for (int tab : {2, 6, 3, 0}) {
      tabs->setCurrentIndex(tab);
      QCOMPARE(d.commandList().isVisible(), tab == 2);
      QCOMPARE(d.ModuleList().isVisible(), tab != 2);
      QCOMPARE(d.jigPage->ArpFlushEnabled(), tab == 6);
    }
    QCOMPARE(tabs->widget(1), pageBefore);

    // The about box from the window's own menu.
    QString aboutTitle, aboutText, filesText;
    w.prompter.onDialog = [&](QDialog& box) {
      aboutTitle = box.windowTitle();
      aboutText = box.findChild<QLabel*>("versionLabel")->text();
      filesText = box.findChild<QLabel*>("filesLabel")->text();
      return int(QDialog::Accepted);
    };
    QAction* about = nullptr;
    for (QAction* a : d.actions())
      if (a->text() == "&About Torvek...Version 1.1") about = a;
    QVERIFY(about);
    about->trigger();
    QCOMPARE(aboutTitle, QString("About Torvek"));
    QCOMPARE(aboutText, QString("Torvek Version 1.0"));
    // It tells where the daily log and the other files are kept.
    QCOMPARE(filesText, "Files: " + d.startUp.programDir);

    // Shutdown lets go of the port.
    d.accept();
    QUdpSocket probe;
    QVERIFY(probe.bind(QHostAddress::AnyIPv4, 7981));
  }
};

TORVEK_LAB_MAIN(StartUpTest)
#include "start_up_test.moc"
