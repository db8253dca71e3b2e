// A flood of large datagrams while the owner of a socket takes none of them
// (a box stands, the UI thread is busy): what the reader keeps waiting is
// bounded in bytes, not only in count.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QFile>
#include <QtTest/QTest>
#include <deque>
#include <vector>

#include "lab.h"
#include "platform/udp_socket.h"

using namespace torvek;

namespace {

constexpr std::uint16_t kPort = 47981;

long ResidentKb() {
  QFile status("/proc/self/status");
  if (!status.open(QIODevice::ReadOnly)) return -1;
  for (const QByteArray& line : status.readAll().split('\n'))
    if (line.startsWith("VmRSS:")) return line.mid(6).trimmed().split(' ').first().toLong();
  return -1;
}

}  // namespace

class ReceiveBoundTest : public QObject {
  Q_OBJECT

 private slots:
  void aFloodOfLargeDatagramsKeepsItsBytesBounded() {
    UdpSocket socket([] {});
    QCOMPARE(socket.Bind(kPort, 4096, "127.0.0.1"), 0);
    QCOMPARE(socket.SetReceiveBuffer(0x200000), 0);
    const long before = ResidentKb();

    const int sender = ::socket(AF_INET, SOCK_DGRAM, 0);
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_port = htons(kPort);
    to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const std::vector<char> datagram(4000, 'x');
    // 160 MB offered; the reader takes them as fast as they come.
    for (int i = 0; i < 40000; ++i) {
      ::sendto(sender, datagram.data(), datagram.size(), 0, reinterpret_cast<sockaddr*>(&to),
               sizeof to);
      if (i % 500 == 499) QTest::qWait(1);
    }
    ::close(sender);
    QTest::qWait(300);

    // About 8 MiB in the ring and 32 MiB beside it; the rest is dropped.
    const std::size_t pending = socket.Pending();
    QVERIFY2(pending * 4000 <= (40u << 20) + 4000 * 64, qPrintable(QString::number(pending)));
    QVERIFY(socket.Dropped() > 0);
    const long grown = ResidentKb() - before;
    QVERIFY2(grown < 60 * 1024, qPrintable(QString("%1 kB").arg(grown)));

    // Once taken and handed back, the room is there again.
    std::deque<ReceivedDatagram> taken;
    QCOMPARE(socket.TakeAll(taken), pending);
    std::vector<ReceivedDatagram> used(std::make_move_iterator(taken.begin()),
                                       std::make_move_iterator(taken.end()));
    socket.Recycle(used);
    QCOMPARE(socket.Pending(), std::size_t{0});
  }
};

int main(int argc, char** argv) {
  test::RequireLab();
  QCoreApplication app(argc, argv);
  ReceiveBoundTest test;
  return QTest::qExec(&test, argc, argv);
}

#include "receive_bound_test.moc"
