// The reader thread against a real pseudo-terminal, and the setup dialog.
#include <sys/resource.h>

#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QTemporaryDir>
#include <QThread>
#include <QtTest/QTest>
#include <chrono>
#include <thread>

#include "control_by_id.h"
#include "core/start_up_values.h"
#include "pty_pair.h"
#include "scripted_prompter.h"
#include "terminals/serial_line.h"
#include "terminals/serial_port.h"
#include "terminals/serial_setup_dialog.h"

using namespace torvek;
using namespace torvek::test;

namespace {

double ProcessCpuSeconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
         double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

// A reader on its own thread, as the main window runs it.
struct ReaderOnThread {
  std::atomic<int> upgradeActive{0};
  QThread thread;
  SerialReader* reader = new SerialReader(upgradeActive, [] { return std::int64_t{0}; });
  QList<QByteArray> texts;

  ReaderOnThread() {
    reader->moveToThread(&thread);
    QObject::connect(&thread, &QThread::finished, reader, &QObject::deleteLater);
    QObject::connect(
        reader, &SerialReader::TextsReady, &thread,
        [this] {
          for (const SerialText& t : reader->TakeTexts()) texts << t.text;
        },
        Qt::QueuedConnection);
    thread.start();
  }
  ~ReaderOnThread() {
    Close();
    thread.quit();
    thread.wait();
  }
  int Open(const QString& dir, QStringList& failures, std::uint32_t port = 0) {
    SerialConfig config;
    config.port = port;
    int result = 0;
    reader->Post([&] { result = reader->Open(config, dir, failures); }, true);
    return result;
  }
  void Close() {
    reader->Post([this] { reader->Close(); }, true);
  }
  void Write(const QByteArray& bytes) {
    reader->Post([this, bytes] { reader->Write(bytes); }, false);
  }
};

}  // namespace

class SerialTest : public QObject {
  Q_OBJECT
  QTemporaryDir dir;
  QString Dir() const { return dir.path() + "/"; }

 private slots:
  void chunksAreCutOnTheRealLineAndSurviveAChangeOfMode() {
    PtyPair pty(Dir() + "COM1", Dir() + "peer1");
    QVERIFY(pty.Start());
    ReaderOnThread r;
    QStringList failures;
    QCOMPARE(r.Open(Dir(), failures), 1);
    QVERIFY2(failures.isEmpty(), qPrintable(failures.join('|')));

    r.upgradeActive = 1;
    pty.Write("ver\r\n");
    QTRY_COMPARE(r.texts, (QList<QByteArray>{"ver\r", "\n"}));
    r.texts.clear();

    // 1024 characters with no terminator: the chunk, "Too much", and the
    // byte that found the buffer full is gone.
    pty.Write(QByteArray(1024, 'a') + "bc#");
    QTRY_COMPARE(r.texts, (QList<QByteArray>{QByteArray(1024, 'a'), "Too much", "c#"}));
    r.texts.clear();

    // An unfinished chunk waits through a spell of bulk mode.
    pty.Write("par");
    QTest::qWait(100);
    QVERIFY(r.texts.isEmpty());
    r.upgradeActive = 0;
    pty.Write(QByteArray("x\0y", 3));
    QTRY_COMPARE(r.texts, QList<QByteArray>{"x"});
    r.texts.clear();
    r.upgradeActive = 1;
    pty.Write(QByteArray("t\0ial\n", 6));
    QTRY_COMPARE(r.texts, QList<QByteArray>{"partial\n"});
  }

  void writesKeepTheirOrderAndAClosedPortDeliversNothingUntilReopened() {
    PtyPair pty(Dir() + "COM2", Dir() + "peer2");
    QVERIFY(pty.Start());
    ReaderOnThread r;
    QStringList failures;
    QCOMPARE(r.Open(Dir(), failures, 1), 1);
    QByteArray expected;
    for (int i = 0; i < 200; ++i) {
      const QByteArray line = "line " + QByteArray::number(i) + "\r";
      r.Write(line);
      expected += line;
    }
    QByteArray got;
    QTRY_COMPARE((got += pty.Read()), expected);

    // Silent and open, the reader waits for the port and costs nothing.
    const double before = ProcessCpuSeconds();
    QTest::qWait(1000);
    QVERIFY2(ProcessCpuSeconds() - before < 0.05, "an idle open port costs processor time");

    r.Close();
    pty.Write("after close\n");
    QTest::qWait(200);
    QVERIFY(r.texts.isEmpty());
    r.Write("lost");

    QCOMPARE(r.Open(Dir(), failures, 1), 1);
    pty.Write("again\n");
    QTRY_COMPARE(r.texts.join(), QByteArray("again\n"));
    QTest::qWait(100);
    QCOMPARE(pty.Read(), QByteArray());
  }

  void textThatArrivesWhileTheLineOpensReachesTheConsoleEveryTime() {
    // A peer that talks without pause: whenever the port goes live, and
    // whatever the UI thread is doing then (a box of the open, say), text is
    // already on its way. A reader that told nobody would go silent for good.
    PtyPair pty(Dir() + "COM3", Dir() + "peer3");
    QVERIFY(pty.Start());
    OfflinePlatform p;
    StartUpValues program;
    SerialLine line(p.platform, program);
    QByteArray got;
    line.SetConsoleSink([&got](int direction, const QByteArray& text) {
      if (direction == 0) got += text;
    });
    std::atomic<bool> talking{true};
    std::thread peer([&] {
      while (talking) {
        pty.Write("tick\n");
        QThread::usleep(100);
      }
    });
    SerialConfig config;
    config.port = 2;
    for (int open = 0; open < 30; ++open) {
      QVERIFY(line.Open(config, Dir()));
      got.clear();
      QTRY_VERIFY2_WITH_TIMEOUT(!got.isEmpty(), qPrintable(QString("open %1").arg(open)), 2000);
    }
    talking = false;
    peer.join();
    line.Close();
    QVERIFY(p.prompter.boxes.isEmpty());
  }

  void aPortThatCannotOpenSaysWhyInOrder() {
    ReaderOnThread r;
    QStringList failures;
    QCOMPARE(r.Open(Dir(), failures, 96), 0);  // COM97: no device without a link
    QCOMPARE(failures, (QStringList{"COM97", " com port  initial error", "Open Fail:Com97 ", ""}));
    failures.clear();
    QFile::link("/nonexistent/tty", Dir() + "COM5");
    QCOMPARE(r.Open(Dir(), failures, 4), 0);
    QCOMPARE(failures.first(), QString("COM5"));
    // A damaged port row opens COM1, the row the setup dialog shows for it.
    failures.clear();
    QFile::remove(Dir() + "COM1");
    QFile::link("/nonexistent/tty", Dir() + "COM1");
    QCOMPARE(r.Open(Dir(), failures, 0xFFFFFFFFu), 0);
    QCOMPARE(failures.first(), QString("COM1"));
    QFile::remove(Dir() + "COM1");
  }

  void setupDialogShowsTheRowsAndTheDeviceAndGivesBackTheChoice() {
    QTemporaryDir own;
    const QString ownDir = own.path() + "/";
    QFile::link("/dev/null", ownDir + "COM40");
    // A damaged file: rows out of range show the default rows.
    const SerialConfig damaged{500, 99, 7, 9, 9, 0};
    CSerialSetupDlg dialog(damaged, ownDir);
    QCOMPARE(dialog.windowTitle(), QString("Serial Port Setup"));
    auto combo = [&](int id) { return ById<QComboBox>(dialog, id); };
    QCOMPARE(combo(1173)->count(), 99);
    QCOMPARE(combo(1173)->itemText(98), QString("COM99"));
    QCOMPARE(combo(1171)->count(), 15);
    QCOMPARE(combo(1171)->currentText(), QString("57600"));
    QCOMPARE(combo(1172)->currentText(), QString("8"));
    QCOMPARE(combo(1114)->itemText(0), QString("no "));
    QCOMPARE(combo(1113)->itemText(1), QString("2 stop"));
    QCOMPARE(combo(1115)->count(), 1);
    QCOMPARE(combo(1173)->currentText(), QString("COM1"));
    auto* device = dialog.findChild<QLabel*>("deviceLabel");
    QCOMPARE(device->text(), QString("/dev/ttyS0"));
    combo(1173)->setCurrentIndex(39);
    QCOMPARE(device->text(), ownDir + "COM40");
    combo(1173)->setCurrentIndex(40);
    QCOMPARE(device->text(), QString("/dev/ttyUSB8"));
    combo(1171)->setCurrentIndex(12);
    combo(1114)->setCurrentIndex(2);
    const SerialConfig chosen = dialog.Chosen();
    QCOMPARE(chosen.port, 40u);
    QCOMPARE(chosen.baud, 12u);
    QCOMPARE(chosen.dataBits, 3u);
    QCOMPARE(chosen.parity, 2u);
    QCOMPARE(chosen.stopBits, 0u);
  }
};

QTEST_MAIN(SerialTest)
#include "serial_test.moc"
