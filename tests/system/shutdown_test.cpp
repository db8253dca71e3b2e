// Closing the window in the middle of everything: a 300 KB upload to 200 modules on
// the sender's thread and a serial line that never stops talking. The window
// must be gone within a second, with every thread stopped in order.
#include <QApplication>
#include <QElapsedTimer>
#include <QtTest/QTest>
#include <atomic>
#include <memory>
#include <thread>

#include "admin/file_job.h"
#include "admin/file_sender.h"
#include "controls/cell_color_list.h"
#include "core/module_record.h"
#include "pty_pair.h"
#include "system_fixture.h"

using namespace torvek;
using namespace torvek::test;

class ShutdownTest : public QObject {
  Q_OBJECT

 private slots:
  void closingDuringAJobAndAStreamEndsWithinASecond() {
    ModSim sim({"--count", "200"});
    QVERIFY(sim.Start());
    auto w = std::make_unique<LabWindow>();
    CMainDlg& d = w->dialog;
    QVERIFY(d.OnInitDialog());
    d.show();
    QTRY_COMPARE_WITH_TIMEOUT(d.ModuleList().RowCount(), 200, 10000);

    PtyPair pty(w->dir.filePath("COM1"), w->dir.filePath("peer1"));
    QVERIFY(pty.Start());
    d.serialLine().serialConfig = SerialConfig{};
    QVERIFY(d.SaveSerialConfig(d.startUp.serialConfigPath));
    d.OpenSerial();
    QVERIFY(d.SerialReaderRunning());
    std::atomic<bool> talking{true};
    std::thread peer([&] {
      const QByteArray line = QByteArray(512, 'x') + "\r\n";
      while (talking)
        if (pty.TryWrite(line) == 0) QThread::usleep(200);
    });

    // A 300 KB job to every row, far longer than the test.
    FileJob job;
    job.all = 1;
    job.model = kModel740P;
    job.frame =
        MakeJobFrame(frame::kCmdUploadFirmware, kModel740P, d.link().pcMac, {}, true, 300'000);
    job.content.assign(300'000, 0x5A);
    QVERIFY(d.fileSender().StartJob(std::move(job)));
    QTRY_VERIFY(d.fileSender().BlocksSent() >= 5);
    QVERIFY(d.link().fileJobRunning);
    // The UI thread publishes new targets while the sender reads them.
    for (int i = 0; i < 10; ++i) {
      d.OnUseLanIp();
      QTest::qWait(10);
    }

    QElapsedTimer closing;
    closing.start();
    d.reject();
    w.reset();
    const qint64 took = closing.elapsed();
    talking = false;
    peer.join();
    QVERIFY2(took < 1000, qPrintable(QString("%1 ms").arg(took)));
    // Every block that went out went to all 200 modules.
    QTRY_VERIFY(sim.FramesOf(frame::kCmdUploadFirmware).size() >= 5 * 200);
  }
};

TORVEK_LAB_MAIN(ShutdownTest)
#include "shutdown_test.moc"
