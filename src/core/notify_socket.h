// The socket class of the tool: it reports to one owner through a
// notification event, synchronously for data (the receive buffer stays valid
// while the owner handles it) and posted for failures.
#pragma once

#include <QElapsedTimer>
#include <QEvent>
#include <QObject>
#include <QString>
#include <QTimer>
#include <array>
#include <cstdint>
#include <deque>
#include <memory>
#include <shared_mutex>
#include <string>
#include <vector>

namespace torvek {

class TcpSocket;
class UdpSocket;
struct ReceivedDatagram;

inline constexpr int WM_SOCKET_NOTIFY = 0xBCF;
inline constexpr int WM_SERIAL_SWITCH = 0xBD0;
inline constexpr int WM_JIG_STEP = 0x92B;
inline constexpr int WM_SCRIPT_SEND = 0x1105;

// A private message of the tool, as a Qt event of type QEvent::User + number.
class PrivateMessage : public QEvent {
 public:
  PrivateMessage(int message, long long wParam, long long lParam)
      : QEvent(TypeOf(message)), wParam(wParam), lParam(lParam) {}
  static QEvent::Type TypeOf(int message) {
    return static_cast<QEvent::Type>(QEvent::User + message);
  }
  const long long wParam;
  const long long lParam;
};

class CNotifySocket : public QObject {
  Q_OBJECT
 public:
  static constexpr std::size_t kReceiveSize = 4096;
  // First parameter of the notification.
  enum Notification { kData = 0, kFailed = 1, kConnected = 2 };

  explicit CNotifySocket(QObject* parent = nullptr);
  ~CNotifySocket() override;

  // A datagram socket bound to `port` on any local address. False on failure,
  // with lastError holding the code.
  bool CreateDatagram(std::uint16_t port, const std::string& address = {});
  // A stream socket on any local port. False on failure, with lastError set.
  bool CreateStream();
  // Starts a connect and returns at once; OnConnect brings the outcome.
  void Connect(const std::string& address, std::uint16_t port);
  // On the stream: the bytes sent or -1, with lastError set.
  long Send(const std::uint8_t* data, std::size_t length);
  bool IsOpen() const;
  int lastError = 0;

  void SetNotifyMessage(int message) { notifyMessage = message; }
  void SetNotifyWindow(QObject* window) { notifyWindow = window; }
  bool SetBroadcast(bool on);
  // SO_SNDBUF, then SO_RCVBUF; each failure is told.
  bool SetBuffers(int sendBytes, int receiveBytes);
  // Gives the bytes sent or -1, with lastError set, or *error when given (a
  // sender on another thread leaves lastError to the UI thread).
  long SendTo(const std::uint8_t* data, std::size_t length, std::uint16_t port,
              const std::string& address, int* error = nullptr);
  enum ShutHow { kShutReceives = 0, kShutSends = 1, kShutBoth = 2 };
  void ShutDown(ShutHow how);
  void Close();

  // Sets errorText from the code and posts the failure notification.
  void ReportError(int code);

  int notifyMessage = WM_SOCKET_NOTIFY;
  QObject* notifyWindow = nullptr;
  std::array<std::uint8_t, kReceiveSize> receiveBuffer{};
  QString errorText;
  std::uint16_t receivedLength = 0;

 signals:
  // A text for the operator's box; connect it directly, so that the box
  // comes where the socket used to show it.
  void Tell(const QString& text);

 private slots:
  // Hands the datagrams that arrived to the owner, one at a time and in order,
  // in slices that leave the event loop time to paint.
  void Drain();

 private:
  void OnReceive(const struct ReceivedDatagram& datagram);
  // The stream's events.
  void OnConnect(int error);
  void OnClose(int error);
  void OnStreamReadable();

  // Replaced and closed on the UI thread only, under the lock; a send from
  // the file sender holds it shared, so it never meets a closing socket.
  mutable std::shared_mutex udpLock_;
  std::unique_ptr<UdpSocket> udp_;
  // A child; deleted later when closed, since a close can come from inside
  // one of its own events.
  TcpSocket* tcp_ = nullptr;
  // Datagrams taken from the reader and not yet handed to the owner, oldest
  // first. A member, so that a nested drain (a modal box's event loop) goes on
  // where the outer one stopped.
  std::deque<ReceivedDatagram> pending_;
  std::vector<ReceivedDatagram> handled_;
  // A drain is posted and has not run yet.
  bool drainPosted_ = false;
  QTimer holdBackTimer_;
  QElapsedTimer holdingBack_;
};

}  // namespace torvek
