// The Network page in the real window against the data ports of virtual
// modules: TCP and UDP, each terminator's bytes, echoes, refusals, closes
// and resets by the module, a change of module and Auto Send.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QUuid>
#include <QtTest/QTest>
#include <functional>

#include "control_by_id.h"
#include "controls/cell_color_list.h"
#include "system_fixture.h"
#include "terminals/network_page.h"

using namespace torvek;
using namespace torvek::test;

namespace {

const QString kEstablished = "Connection is established";

// The window, the modules with their data ports in one mode, and the page.
struct NetworkLab {
  explicit NetworkLab(const QString& mode, int count = 1)
      : dataLog(QDir::tempPath() + "/modsim-data-" +
                QUuid::createUuid().toString(QUuid::Id128).left(12) + ".log"),
        sim({"--count", QString::number(count), "--data", mode, "--data-log", dataLog}) {}
  ~NetworkLab() { QFile::remove(dataLog); }

  bool Up(int rows = 1) {
    if (!sim.Start() || !w.dialog.OnInitDialog()) return false;
    if (!QTest::qWaitFor([&] { return w.dialog.ModuleList().RowCount() >= rows; }, 5000))
      return false;
    w.dialog.SelectRow(0);
    w.dialog.ShowTab(1);
    return true;
  }
  CNetworkPage& page() { return *w.dialog.networkPage; }
  NetworkSession& session() { return w.dialog.networkSession(); }
  QAbstractButton& button() { return *ById<QAbstractButton>(page(), 1063); }
  void Choose(int id, int row) { ById<QComboBox>(page(), id)->setCurrentIndex(row); }
  void Send(const QString& text, int terminatorRow) {
    Choose(1034, terminatorRow);
    ById<QLineEdit>(page(), 1031)->setText(text);
    ById<QAbstractButton>(page(), 1032)->click();
  }
  QByteArray Log() { return QByteArray::fromStdString(w.dialog.networkSession().log().Text()); }
  // The bytes the modules took, one entry per arrival: "tcp <ip>:<port> <hex>".
  QList<QByteArray> Arrivals(const QByteArray& protocol) const {
    QFile file(dataLog);
    QList<QByteArray> out;
    if (!file.open(QIODevice::ReadOnly)) return out;
    for (const QByteArray& line : file.readAll().split('\n')) {
      const QList<QByteArray> parts = line.split(' ');
      if (parts.size() == 3 && parts[0] == protocol)
        out << parts[1] + " " + QByteArray::fromHex(parts[2]);
    }
    return out;
  }

  QString dataLog;
  ModSim sim;
  LabWindow w;
};

}  // namespace

class NetworkTest : public QObject {
  Q_OBJECT

 private slots:
  void tcpEchoCarriesEachTerminatorsBytes() {
    NetworkLab lab("echo");
    QVERIFY(lab.Up());
    lab.w.prompter.Expect({kEstablished});
    lab.button().click();
    QVERIFY(!lab.button().isEnabled());
    QTRY_COMPARE(lab.button().text(), QString("Remote Dis-Connect"));
    QVERIFY(lab.button().isEnabled());
    const char* lines[] = {"plain", "lf", "cr", "lfcr"};
    const char* ends[] = {"", "\n", "\r", "\n\r"};
    QByteArray all;
    for (int row = 0; row < 4; ++row) {
      const QByteArray line = QByteArray(lines[row]) + ends[row];
      all += line;
      lab.Send(lines[row], row);
      QVERIFY(ById<QLineEdit>(lab.page(), 1031)->text().isEmpty());
      // Each echo before the next send, so that each stands in an entry of its own.
      QTRY_VERIFY2(lab.Log().endsWith("[send]" + QByteArray(lines[row]) + "\r\n[recv]" + line),
                   lab.Log().right(80).constData());
    }
    // The module took exactly those bytes, on the module's address and port.
    QByteArray arrived;
    for (const QByteArray& a : lab.Arrivals("tcp")) {
      QVERIFY2(a.startsWith("10.77.128.1:5000 "), a.constData());
      arrived += a.mid(17);
    }
    QCOMPARE(arrived, all);
    // The operator's disconnect.
    lab.button().click();
    QCOMPARE(lab.button().text(), QString("connect"));
    QCOMPARE(lab.session().remoteConnected, 0);
    QVERIFY(lab.w.prompter.Pending().isEmpty());
    QCOMPARE(lab.w.prompter.unexpected, 0);
  }

  void udpEchoWithNoHandshake() {
    NetworkLab lab("echo");
    QVERIFY(lab.Up());
    lab.Choose(1027, 0);
    ById<QLineEdit>(lab.page(), 1030)->setText("5051");
    lab.button().click();
    QCOMPARE(lab.button().text(), QString("no connect"));
    QCOMPARE(lab.session().remoteConnected, 1);
    const char* lines[] = {"u0", "u1", "u2", "u3"};
    const char* ends[] = {"", "\n", "\r", "\n\r"};
    for (int row = 0; row < 4; ++row) {
      const QByteArray line = QByteArray(lines[row]) + ends[row];
      lab.Send(lines[row], row);
      QTRY_VERIFY2(lab.Log().endsWith("\r\n[recv]" + line), lab.Log().right(80).constData());
      QTRY_COMPARE(lab.Arrivals("udp").size(), row + 1);
      QCOMPARE(lab.Arrivals("udp").last(), "10.77.128.1:5051 " + line);
    }
    lab.button().click();
    QCOMPARE(lab.button().text(), QString("connect"));
    QCOMPARE(lab.w.prompter.unexpected, 0);
  }

  void refusedConnectIsLoggedAndTheButtonIsBack() {
    NetworkLab lab("refuse");
    QVERIFY(lab.Up());
    lab.button().click();
    QTRY_VERIFY2(lab.Log().endsWith("\r\nErr=>The attempt to connect was forcefully rejected"),
                 lab.Log().right(80).constData());
    QTRY_COMPARE(lab.button().text(), QString("Remote Connect"));
    QVERIFY(lab.button().isEnabled());
    QCOMPARE(lab.session().remoteConnected, 0);
    QCOMPARE(lab.w.prompter.unexpected, 0);
  }

  void moduleClosingOrResettingEndsTheConnection() {
    {
      NetworkLab lab("close");
      QVERIFY(lab.Up());
      lab.w.prompter.Expect({kEstablished, "disconnected"});
      lab.button().click();
      QTRY_COMPARE(lab.button().text(), QString("Remote Dis-Connect"));
      lab.Send("bye", 1);
      // An orderly close leaves no reason behind.
      QTRY_VERIFY2(lab.Log().endsWith("[send]bye\r\nErr=>"), lab.Log().right(80).constData());
      QCOMPARE(lab.button().text(), QString("Remote Connect"));
      QCOMPARE(lab.session().remoteConnected, 0);
      QVERIFY(lab.w.prompter.Pending().isEmpty());
      QCOMPARE(lab.w.prompter.unexpected, 0);
    }
    NetworkLab lab("reset");
    QVERIFY(lab.Up());
    lab.w.prompter.Expect({kEstablished});
    lab.button().click();
    QTRY_COMPARE(lab.button().text(), QString("Remote Dis-Connect"));
    lab.Send("bye", 1);
    QTRY_VERIFY2(lab.Log().endsWith("\r\nErr=>The virtual circuit was reset by the remote side"),
                 lab.Log().right(80).constData());
    QCOMPARE(lab.button().text(), QString("Remote Connect"));
    QCOMPARE(lab.w.prompter.unexpected, 0);
  }

  void unansweredConnectTimesOut() {
    // Two SYNs instead of seven, in the lab's PC side only, for the length
    // of this test: the connect then gives up within about three seconds.
    const QString knob = "/proc/sys/net/ipv4/tcp_syn_retries";
    QFile file(knob);
    QVERIFY(file.open(QIODevice::ReadWrite));
    const QByteArray was = file.readAll().trimmed();
    file.close();
    const auto write = [&](const QByteArray& value) {
      QFile f(knob);
      return f.open(QIODevice::WriteOnly) && f.write(value + "\n") > 0;
    };
    QVERIFY(write("1"));
    struct Restore {
      std::function<void()> undo;
      ~Restore() { undo(); }
    } restore{[&] { write(was); }};
    NetworkLab lab("echo");
    QVERIFY(lab.Up());
    // Beyond the lab's LAN: the LAN side forwards nothing, so no answer comes.
    lab.w.dialog.modules().selectedAddress = "10.78.0.1";
    lab.button().click();
    QVERIFY(!lab.button().isEnabled());
    QTRY_VERIFY2_WITH_TIMEOUT(
        lab.Log().endsWith(
            "\r\nErr=>The attempt to connect timed out without establishing a connection"),
        lab.Log().right(80).constData(), 15000);
    QCOMPARE(lab.button().text(), QString("Remote Connect"));
    QVERIFY(lab.button().isEnabled());
    QCOMPARE(lab.w.prompter.unexpected, 0);
  }

  void anotherModuleEndsTheConnection() {
    NetworkLab lab("text=hello\\0world", 2);
    QVERIFY(lab.Up(2));
    lab.w.prompter.Expect({kEstablished});
    lab.button().click();
    QTRY_COMPARE(lab.button().text(), QString("Remote Dis-Connect"));
    // A fixed answer with a NUL inside arrives whole.
    lab.Send("?", 0);
    QTRY_VERIFY(lab.Log().endsWith(QByteArray("[recv]hello\0world", 17)));
    lab.w.prompter.Expect({" Target module is changed, connection is dis-connected"});
    lab.w.dialog.SelectRow(1);
    QCOMPARE(lab.button().text(), QString("connect"));
    QCOMPARE(lab.session().remoteConnected, 0);
    QVERIFY(lab.w.prompter.Pending().isEmpty());
    // Nothing open: another choice says nothing.
    lab.w.dialog.SelectRow(0);
    QCOMPARE(lab.w.prompter.unexpected, 0);
  }

  void udpPortInUseIsRefused() {
    NetworkLab lab("echo");
    QVERIFY(lab.Up());
    const int taken = ::socket(AF_INET, SOCK_DGRAM, 0);
    sockaddr_in any{};
    any.sin_family = AF_INET;
    any.sin_port = htons(5050);
    QCOMPARE(::bind(taken, reinterpret_cast<sockaddr*>(&any), sizeof any), 0);
    lab.Choose(1027, 0);
    ById<QLineEdit>(lab.page(), 1030)->setText("5050");
    lab.w.prompter.Expect({"udp port port open error!!!!  check system"});
    lab.button().click();
    ::close(taken);
    QVERIFY(lab.w.prompter.Pending().isEmpty());
    QCOMPARE(lab.button().text(), QString("Remote Connect"));
    QCOMPARE(lab.session().remoteConnected, 0);
    QCOMPARE(lab.w.prompter.unexpected, 0);
  }

  void autoSendEvery100msKeepsTheInput() {
    NetworkLab lab("echo");
    QVERIFY(lab.Up());
    lab.Choose(1027, 0);
    ById<QLineEdit>(lab.page(), 1030)->setText("5050");
    lab.button().click();
    QCOMPARE(lab.session().remoteConnected, 1);
    lab.Choose(1051, 0);
    QCOMPARE(ById<QComboBox>(lab.page(), 1051)->currentText(), QString(" 100ms"));
    lab.Choose(1034, 1);
    ById<QLineEdit>(lab.page(), 1031)->setText("tick");
    auto* autoSend = ById<QCheckBox>(lab.page(), 1050);
    autoSend->setChecked(true);
    QTest::qWait(1000);
    autoSend->setChecked(false);
    const int sent = lab.Log().count("[send]tick");
    // Ten periods in the second, give or take a late timer.
    QVERIFY2(sent >= 8 && sent <= 11, qPrintable(QString::number(sent)));
    QCOMPARE(ById<QLineEdit>(lab.page(), 1031)->text(), QString("tick"));
    QTRY_COMPARE(lab.Arrivals("udp").size(), sent);
    for (const QByteArray& a : lab.Arrivals("udp"))
      QCOMPARE(a, QByteArray("10.77.128.1:5050 tick\n"));
    QTRY_COMPARE(lab.Log().count("[recv]tick\n"), sent);
  }
};

TORVEK_LAB_MAIN(NetworkTest)
#include "network_test.moc"
