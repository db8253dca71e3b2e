// torvek-tftp's window in the lab: a fetch shows as a row and a log line,
// uploads follow the box, and a port that cannot be bound is told.
#include <QCheckBox>
#include <QFile>
#include <QLabel>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QRandomGenerator>
#include <QSettings>
#include <QStandardPaths>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QTest>
#include <QUdpSocket>

#include "lab.h"
#include "system_fixture.h"
#include "tftp_window.h"

using namespace torvek::test;

namespace {

QByteArray RandomBytes(int size) {
  QByteArray bytes(size, Qt::Uninitialized);
  for (int i = 0; i < size; ++i)
    bytes[i] = static_cast<char>(QRandomGenerator::global()->generate() & 0xff);
  return bytes;
}

bool WriteFile(const QString& path, const QByteArray& bytes) {
  QFile file(path);
  return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

QByteArray ReadFile(const QString& path) {
  QFile file(path);
  return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

template <typename T>
T* Child(QWidget& window, const char* name) {
  T* child = window.findChild<T*>(name);
  if (!child) qFatal("no %s in the window", name);
  return child;
}

}  // namespace

class TftpWindowTest : public QObject {
  Q_OBJECT

 private slots:
  void initTestCase() {
    QStandardPaths::setTestModeEnabled(true);
    QCoreApplication::setOrganizationName("Torvek");
    QCoreApplication::setApplicationName("torvek-tftp-test");
  }

  void AFetchShowsAsARowAndALogLine() {
    QTemporaryDir work;
    QVERIFY(QDir(work.path()).mkdir("served"));
    const QString served = work.path() + "/served";
    const QByteArray image = RandomBytes(300000);
    QVERIFY(WriteFile(served + "/img.bin", image));
    QVERIFY(WriteFile(work.path() + "/up.bin", image.left(5000)));

    tftpd::ServerSettings settings;
    settings.root = served;
    settings.port = 6981;
    tftpd::TftpWindow window(settings);
    window.show();
    QVERIFY(window.StartServing());
    QVERIFY(Child<QLabel>(window, "statusLabel")->text().startsWith("Serving " + served));

    ChildProcess client;
    QVERIFY(client.Start(SourceDir() + "/scripts/lab",
                         {"lan", "curl", "-s", "--tftp-blksize", "1468", "-o",
                          work.path() + "/got.bin", "tftp://10.77.0.1:6981/img.bin"}));
    QTRY_VERIFY_WITH_TIMEOUT(!client.Running(), 20000);
    QCOMPARE(client.ExitCode(), 0);
    QCOMPARE(ReadFile(work.path() + "/got.bin"), image);

    auto* table = Child<QTableWidget>(window, "transfers");
    QCOMPARE(table->rowCount(), 1);
    QCOMPARE(table->item(0, 1)->text(), QString("img.bin"));
    QTRY_COMPARE(table->item(0, 6)->text(), QString("done"));
    QCOMPARE(qobject_cast<QProgressBar*>(table->cellWidget(0, 4))->value(), 1000);
    auto* log = Child<QPlainTextEdit>(window, "log");
    QVERIFY(log->toPlainText().contains("ok     10.77.0.2:"));

    // Uploads wait for the box.
    const QStringList put = {"lan", "atftp",  "--put",     "-l",  work.path() + "/up.bin",
                             "-r",  "up.bin", "10.77.0.1", "6981"};
    QVERIFY(client.Start(SourceDir() + "/scripts/lab", put));
    QTRY_VERIFY_WITH_TIMEOUT(!client.Running(), 20000);
    QVERIFY(!QFile::exists(served + "/up.bin"));
    QVERIFY(log->toPlainText().contains("refused: uploads are not allowed"));
    Child<QCheckBox>(window, "uploadsBox")->setChecked(true);
    QVERIFY(client.Start(SourceDir() + "/scripts/lab", put));
    QTRY_VERIFY_WITH_TIMEOUT(!client.Running(), 20000);
    QCOMPARE(ReadFile(served + "/up.bin"), image.left(5000));
    QCOMPARE(table->rowCount(), 2);

    QTest::mouseClick(Child<QPushButton>(window, "clearLogButton"), Qt::LeftButton);
    QVERIFY(log->toPlainText().isEmpty());
    // The folder, port and box are remembered for the next start.
    QSettings remembered;
    QCOMPARE(remembered.value("folder").toString(), served);
    QCOMPARE(remembered.value("port").toInt(), 6981);
    QCOMPARE(remembered.value("allowUploads").toBool(), true);
  }

  void APortInUseIsToldAndServingStartsOnceItIsFree() {
    QTemporaryDir served;
    QUdpSocket blocker;
    QVERIFY(blocker.bind(QHostAddress::AnyIPv4, 6982));
    tftpd::ServerSettings settings;
    settings.root = served.path();
    settings.port = 6982;
    tftpd::TftpWindow window(settings);
    window.show();
    QVERIFY(!window.StartServing());
    auto* status = Child<QLabel>(window, "statusLabel");
    QVERIFY(status->text().startsWith("Cannot listen on UDP port 6982"));
    // Not a privilege matter: the hint and the other port stay hidden.
    QVERIFY(!Child<QLabel>(window, "privilegeLabel")->isVisible());
    QVERIFY(!Child<QPushButton>(window, "otherPortButton")->isVisible());
    auto* serve = Child<QPushButton>(window, "serveButton");
    QCOMPARE(serve->text(), QString("Serve"));
    blocker.close();
    QTest::mouseClick(serve, Qt::LeftButton);
    QVERIFY(window.Server().Serving());
    QCOMPARE(serve->text(), QString("Stop"));
    QTest::mouseClick(serve, Qt::LeftButton);
    QVERIFY(!window.Server().Serving());
  }
};

TORVEK_LAB_MAIN(TftpWindowTest)
#include "tftp_window_test.moc"
