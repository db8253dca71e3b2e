// What becomes of the module's answers: refusals, silence, the routes and
// the unknown ones, through the real socket and by frames put in its buffer.
#include <QApplication>
#include <QUdpSocket>
#include <QtTest/QTest>
#include <vector>

#include "admin/config_page.h"
#include "controls/cell_color_list.h"
#include "system_fixture.h"

using namespace torvek;
using namespace torvek::test;

namespace {

// Hands the window a datagram as the socket does, from its receive buffer.
void Deliver(CMainDlg& d, std::uint8_t command, std::uint8_t result, std::size_t length = 23,
             long long wParam = 0) {
  auto& buffer = d.link().socket().receiveBuffer;
  std::fill(buffer.begin(), buffer.end(), std::uint8_t{0});
  buffer[frame::kCommand] = command;
  buffer[frame::kResult] = result;
  d.link().socket().receivedLength = static_cast<std::uint16_t>(length);
  d.link().OnManagementNotify(wParam, 0);
}

}  // namespace

class DispatchTest : public QObject {
  Q_OBJECT

 private slots:
  void resultsOfRecordsThroughTheSocket() {
    {
      ModSim silent({"--result", "9"});
      QVERIFY(silent.Start());
      LabWindow w;
      QVERIFY(w.dialog.OnInitDialog());
      QTRY_VERIFY(!silent.FramesOf(1).isEmpty());
      QTest::qWait(300);
      QCOMPARE(w.dialog.ModuleList().RowCount(), 0);
      QVERIFY(w.prompter.boxes.isEmpty());
    }
    {
      ModSim refused({"--result", "5"});
      QVERIFY(refused.Start());
      LabWindow w;
      const QStringList refusal{" 5: only client mode supports scan command"};
      w.prompter.Expect(refusal);
      QVERIFY(w.dialog.OnInitDialog());
      QTRY_COMPARE(w.prompter.Texts(), refusal);
      QCOMPARE(w.dialog.ModuleList().RowCount(), 0);
    }
    ModSim taken({"--result", "14"});
    QVERIFY(taken.Start());
    LabWindow w;
    QVERIFY(w.dialog.OnInitDialog());
    QTRY_COMPARE(w.dialog.ModuleList().RowCount(), 1);
    QVERIFY(w.prompter.boxes.isEmpty());
  }

  void routesByCommand() {
    LabWindow w;
    CMainDlg& d = w.dialog;
    QVERIFY(d.OnInitDialog());
    QStringList called;
    std::vector<std::size_t> macLengths;
    ManagementLink& link = d.link();
    QObject taker;
    QObject::connect(&link, &ManagementLink::configBlock, &taker, [&] { called << "config"; });
    QObject::connect(&link, &ManagementLink::logoBlock, &taker, [&] { called << "logo"; });
    QObject::connect(&link, &ManagementLink::logBlock, &taker, [&] { called << "log"; });
    QObject::connect(&link, &ManagementLink::macWriteAnswer, &taker, [&](const QByteArray& frame) {
      called << QString("mac %1").arg(static_cast<std::uint8_t>(frame[frame::kCommand]));
      macLengths.push_back(static_cast<std::size_t>(frame.size()));
    });

    // A failure notification does not look at the stale frame.
    Deliver(d, 5, 0, 23, 1);
    QCOMPARE(d.configPage->OperationStatus(), QString("Remote module socket error"));
    Deliver(d, 2, 9);
    Deliver(d, 5, 9);
    QVERIFY(w.prompter.boxes.isEmpty());

    const QStringList texts{" 1: Invalid IP address", " Module ip is changed !!!",
                            " 12: Flash file system is not stable",
                            "Unknown message (hex =31   dec=49)",
                            "Unknown message (hex =0   dec=0)"};
    w.prompter.Expect(texts);
    Deliver(d, 5, 1);
    Deliver(d, 5, 0);
    Deliver(d, 51, 12);
    Deliver(d, 49, 0);
    Deliver(d, 0, 0);
    Deliver(d, 2, 200);
    QCOMPARE(w.prompter.Texts(), texts);
    QVERIFY(called.isEmpty());

    // Data blocks and MAC answers reach their pages; 14 and above pass.
    Deliver(d, 51, 14);
    Deliver(d, 55, 0);
    Deliver(d, 62, 24);
    Deliver(d, 53, 0, 1225);
    Deliver(d, 57, 0, 23);
    Deliver(d, 82, 0, 1300);
    QCOMPARE(called, (QStringList{"config", "logo", "log", "mac 53", "mac 57", "mac 82"}));
    QCOMPARE(macLengths, (std::vector<std::size_t>{1225, 23, 1228}));
    QCOMPARE(w.prompter.boxes.size(), 5);

    // Pages that are not waiting for them take such answers silently.
    QObject::disconnect(&link, nullptr, &taker, nullptr);
    Deliver(d, 51, 0);
    Deliver(d, 53, 0);
    QCOMPARE(w.prompter.boxes.size(), 5);
  }

  // A stranger floods the tool with answers that each ask for a box; module
  // records come behind them. The records become rows while the first box
  // stands, the boxes come one at a time, and the same text comes once with
  // its count.
  void rowsKeepComingWhileAnAnswersBoxStands() {
    struct ModalPrompter : ScriptedPrompter {
      int depth = 0, deepest = 0;
      std::function<void()> inFirstBox;
      void Message(const QString& text, const QString& title) override {
        boxes.append({text, title});
        deepest = std::max(deepest, ++depth);
        if (auto inside = std::exchange(inFirstBox, nullptr))
          inside();
        else
          QTest::qWait(10);
        --depth;
      }
    } modal;
    LabWindow w;
    Platform platform{modal, w.launcher, w.beeper, w.clock, w.adapters, w.paths};
    CMainDlg d(platform);
    QVERIFY(d.OnInitDialog());
    QUdpSocket stranger;
    QVERIFY(stranger.bind());
    const auto send = [&](const QByteArray& datagram) {
      return stranger.writeDatagram(datagram, QHostAddress("10.77.0.1"), frame::kToolPort) ==
             datagram.size();
    };
    QByteArray unknown(23, '\0'), refused(23, '\0');
    unknown[frame::kCommand] = 49;
    refused[frame::kCommand] = 5;
    refused[frame::kResult] = 1;
    bool rowsWhileBoxStood = false;
    modal.inFirstBox = [&] {
      for (int i = 0; i < 299; ++i) QVERIFY(send(unknown));
      for (int i = 0; i < 3; ++i) QVERIFY(send(refused));
      for (int m = 1; m <= 5; ++m) {
        QByteArray record(1225, '\0');
        record[0] = 0x56;  // ORB740, version 3: the model code little-endian
        record[1] = 0x48;
        record[frame::kCommand] = 2;
        record[frame::kVersion] = 3;
        record[frame::kSourceMac + 5] = static_cast<char>(m);
        QVERIFY(send(record));
      }
      rowsWhileBoxStood = QTest::qWaitFor([&] { return d.ModuleList().RowCount() == 5; }, 5000);
    };
    QVERIFY(send(unknown));
    QTRY_VERIFY(modal.boxes.size() >= 3);
    QVERIFY(rowsWhileBoxStood);
    QCOMPARE(modal.deepest, 1);
    QCOMPARE(modal.Texts(),
             (QStringList{"Unknown message (hex =31   dec=49)",
                          "Unknown message (hex =31   dec=49)", " 1: Invalid IP address"}));
    QVERIFY(modal.boxes[0].title.isEmpty());
    QVERIFY(modal.boxes[1].title.endsWith("(299 times)"));
    QVERIFY(modal.boxes[2].title.endsWith("(3 times)"));
  }

  void answerSixtySearchesEvenDuringAnUpload() {
    ModSim sim({"--count", "2"});
    QVERIFY(sim.Start());
    LabWindow w;
    CMainDlg& d = w.dialog;
    QVERIFY(d.OnInitDialog());
    QTRY_COMPARE(d.ModuleList().RowCount(), 2);
    d.SelectRow(0);
    d.link().fileJobRunning = true;
    Deliver(d, 60, 0);
    QCOMPARE(d.ModuleList().RowCount(), 0);
    QCOMPARE(d.modules().selectedRow, -1);
    QTRY_COMPARE(sim.FramesOf(1).size(), 2);
    QTRY_COMPARE(d.ModuleList().RowCount(), 2);
    QVERIFY(w.prompter.boxes.isEmpty());
    d.link().fileJobRunning = false;
  }
};

TORVEK_LAB_MAIN(DispatchTest)
#include "dispatch_test.moc"
