// The Network page alone: its template, what it shows of its log, and what
// it refuses before any socket is opened.
#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QTextBlock>
#include <QtTest/QTest>

#include "control_by_id.h"
#include "core/module_directory.h"
#include "scripted_prompter.h"
#include "terminals/network_page.h"

using namespace torvek;
using torvek::test::ById;

namespace {

struct NetworkRig {
  torvek::test::OfflinePlatform p;
  ModuleDirectory selection;
  NetworkSession session{p.platform, selection};
  CNetworkPage page{session};

  QPlainTextEdit& box() { return *ById<QPlainTextEdit>(page, 1023); }
  QLineEdit& input() { return *ById<QLineEdit>(page, 1031); }
  QAbstractButton& connectButton() { return *ById<QAbstractButton>(page, 1063); }
};

QString LastLine(QPlainTextEdit& box) { return box.document()->lastBlock().text(); }

}  // namespace

class NetworkPageTest : public QObject {
  Q_OBJECT

 private slots:
  void templateHoldsEveryControlWithItsTextAndStartingRow() {
    NetworkRig rig;
    CNetworkPage& page = rig.page;
    QCOMPARE(page.property("controlId").toInt(), 133);
    const struct {
      int id;
      const char* text;
    } buttons[] = {{1063, "Remote Connect"},
                   {1050, "Auto Send"},
                   {1032, "send"},
                   {1035, "Clear Buffer"},
                   {1047, "Broadcast"}};
    for (const auto& b : buttons) {
      auto* button = ById<QAbstractButton>(page, b.id);
      QVERIFY2(button, qPrintable(QString::number(b.id)));
      QCOMPARE(button->text(), QString(b.text));
    }
    QVERIFY(!ById<QCheckBox>(page, 1047)->isVisibleTo(&page));
    QVERIFY(!ById<QCheckBox>(page, 1047)->isChecked());
    auto* protocol = ById<QComboBox>(page, 1027);
    QCOMPARE(protocol->count(), 2);
    QCOMPARE(protocol->itemText(0), QString("UDP"));
    QCOMPARE(protocol->currentText(), QString("TCP"));
    QCOMPARE(ById<QLineEdit>(page, 1030)->text(), QString("5000"));
    QCOMPARE(ById<QLineEdit>(page, 1030)->maxLength(), 5);
    QCOMPARE(rig.input().maxLength(), 1000);
    auto* terminator = ById<QComboBox>(page, 1034);
    QCOMPARE(terminator->currentText(), QString("no add"));
    QCOMPARE(terminator->itemText(3), QString("add 0a&0d"));
    auto* interval = ById<QComboBox>(page, 1051);
    QCOMPARE(interval->count(), 24);
    QCOMPARE(interval->currentText(), QString("1000ms"));
    QCOMPARE(interval->itemText(0), QString(" 100ms"));
    // Every edit and combo is known by its label.
    for (const char* label : {"Protocol:", "RemotePort:", "Interval:", "input:"}) {
      bool found = false;
      for (QLabel* l : page.findChildren<QLabel*>())
        if (l->text() == label) found = l->buddy() != nullptr;
      QVERIFY2(found, label);
    }
    QCOMPARE(rig.box().toPlainText(),
             QString("Connect module via TCP/UDP\nSerial#1 : default tcp port=5000 , udp "
                     "port=5050\nSerial#2 : default tcp port=5001 , udp port=5051\n"));
    // The broadcast box follows the protocol.
    protocol->setCurrentIndex(0);
    QVERIFY(ById<QCheckBox>(page, 1047)->isEnabled());
    protocol->setCurrentIndex(1);
    QVERIFY(!ById<QCheckBox>(page, 1047)->isEnabled());
  }

  void sendWhileNotConnectedLogsAndEmptiesTheInput() {
    NetworkRig rig;
    // Empty input: no entry.
    const QString before = rig.box().toPlainText();
    QTest::mouseClick(ById<QAbstractButton>(rig.page, 1032), Qt::LeftButton);
    rig.page.FlushLog();
    QCOMPARE(rig.box().toPlainText(), before);
    rig.input().setText("hello");
    ById<QComboBox>(rig.page, 1034)->setCurrentIndex(3);
    QTest::keyClick(&rig.input(), Qt::Key_Return);
    rig.page.FlushLog();
    QCOMPARE(LastLine(rig.box()), QString("[send]hello"));
    QVERIFY(rig.input().text().isEmpty());
    // Auto Send with nothing connected sends nothing, however often it ticks.
    rig.input().setText("again");
    ById<QCheckBox>(rig.page, 1050)->setChecked(true);
    for (int i = 0; i < 30; ++i) rig.page.OnAutoSendTick();
    rig.page.FlushLog();
    QCOMPARE(LastLine(rig.box()), QString("[send]hello"));
  }

  void connectWithoutAModuleIsRefused() {
    NetworkRig rig;
    rig.p.prompter.Expect({"Module is not selected at the list, Please select module first!!!",
                           "Module is not selected at the list, Please select module first!!!"});
    rig.connectButton().click();
    ById<QComboBox>(rig.page, 1027)->setCurrentIndex(0);
    rig.connectButton().click();
    QVERIFY(rig.p.prompter.Pending().isEmpty());
    QCOMPARE(rig.connectButton().text(), QString("Remote Connect"));
    QCOMPARE(rig.session.remoteConnected, 0);
    // Choosing a module with nothing open says nothing.
    rig.page.OnTargetModuleChanged();
    QCOMPARE(rig.p.prompter.boxes.size(), 2);
  }

  void receivedDataShowsWholeNulIncluded() {
    NetworkRig rig;
    CNotifySocket& socket = rig.session.socket();
    // A full buffer has no NUL behind it: the whole chunk shows.
    socket.receiveBuffer.fill('z');
    socket.receivedLength = CNotifySocket::kReceiveSize;
    rig.page.OnSocketNotify(CNotifySocket::kData, socket.receivedLength);
    rig.page.FlushLog();
    QCOMPARE(LastLine(rig.box()), "[recv]" + QString(4096, 'z'));
    // A NUL inside shows as its symbol, and what follows it shows too.
    socket.receiveBuffer.fill(0);
    const char data[] = {'a', 0, 'b', '\r', '\n', 'c'};
    std::copy(std::begin(data), std::end(data), socket.receiveBuffer.begin());
    socket.receivedLength = sizeof data;
    rig.page.OnSocketNotify(CNotifySocket::kData, socket.receivedLength);
    rig.page.FlushLog();
    QCOMPARE(rig.box().document()->lastBlock().previous().text(),
             QString("[recv]a") + QChar(0x2400) + "b");
    QCOMPARE(LastLine(rig.box()), QString("c"));
  }

  void aFloodReachesTheBoxInStretches() {
    NetworkRig rig;
    rig.page.AppendNetworkLog(kLogReceived, std::string(100000, 'q'));
    rig.page.FlushLog();
    QVERIFY(LastLine(rig.box()).size() < 100006);
    // The rest follows turn by turn, without another arrival.
    QTRY_COMPARE(LastLine(rig.box()).size(), 100006);
  }

  void theBoxEmptiesAt1024LinesAndClearBufferEmptiesIt() {
    NetworkRig rig;
    // The banner's three lines and the empty one behind them count.
    for (int i = 0; i < 1020; ++i) rig.page.AppendNetworkLog(kLogSent, "x" + std::to_string(i));
    rig.page.FlushLog();
    QCOMPARE(rig.box().blockCount(), 1024);
    QCOMPARE(LastLine(rig.box()), QString("[send]x1019"));
    rig.page.AppendNetworkLog(kLogReceived, "gone");
    rig.page.FlushLog();
    QCOMPARE(rig.box().toPlainText(), QString());
    rig.page.AppendNetworkLog(kLogError, "next");
    rig.page.FlushLog();
    QCOMPARE(rig.box().toPlainText(), QString("Err=>next"));
    QTest::mouseClick(ById<QAbstractButton>(rig.page, 1035), Qt::LeftButton);
    QCOMPARE(rig.box().toPlainText(), QString());
    rig.page.AppendNetworkLog(kLogSent, "fresh");
    rig.page.FlushLog();
    QCOMPARE(rig.box().toPlainText(), QString("[send]fresh"));
  }
};

QTEST_MAIN(NetworkPageTest)
#include "network_page_test.moc"
