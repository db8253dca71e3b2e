#include "core/notify_socket.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QMetaObject>
#include <cerrno>
#include <utility>

#include "core/socket_errors.h"
#include "platform/tcp_socket.h"
#include "platform/udp_socket.h"

namespace torvek {

namespace {
// Longest stretch of datagram handling before the event loop gets its turn.
constexpr qint64 kSliceMs = 8;
// While a burst is still arriving the UI thread holds back, up to 50 ms, so
// that the reading thread has a core to itself and the kernel's buffer (about
// 1,800 records) never overflows; the rows follow the moment it goes quiet.
constexpr std::int64_t kQuietUs = 1000;
constexpr qint64 kHoldBackMs = 50;
}  // namespace

CNotifySocket::CNotifySocket(QObject* parent) : QObject(parent) {
  holdBackTimer_.setSingleShot(true);
  holdBackTimer_.setTimerType(Qt::PreciseTimer);
  holdBackTimer_.setInterval(1);
  connect(&holdBackTimer_, &QTimer::timeout, this, &CNotifySocket::Drain);
}

// The stream socket is a child and goes with the object.
CNotifySocket::~CNotifySocket() { Close(); }

bool CNotifySocket::CreateDatagram(std::uint16_t port, const std::string& address) {
  Close();
  auto udp = std::make_unique<UdpSocket>(
      [this] { QMetaObject::invokeMethod(this, &CNotifySocket::Drain, Qt::QueuedConnection); });
  const int error = udp->Bind(port, kReceiveSize, address);
  if (error != 0) {
    lastError = SocketErrorFromErrno(error);
    return false;
  }
  std::unique_lock lock(udpLock_);
  udp_ = std::move(udp);
  return true;
}

bool CNotifySocket::CreateStream() {
  Close();
  auto* tcp = new TcpSocket;
  tcp->setParent(this);
  const int error = tcp->Create();
  if (error != 0) {
    delete tcp;
    lastError = SocketErrorFromErrno(error);
    return false;
  }
  tcp->onConnected = [this](int code) { OnConnect(SocketErrorFromErrno(code)); };
  tcp->onReadable = [this] { OnStreamReadable(); };
  tcp_ = tcp;
  return true;
}

void CNotifySocket::Connect(const std::string& address, std::uint16_t port) {
  if (tcp_) tcp_->Connect(address, port);
}

long CNotifySocket::Send(const std::uint8_t* data, std::size_t length) {
  if (!tcp_) {
    lastError = kErrNotSocket;
    return -1;
  }
  int error = 0;
  const long sent = tcp_->Send(data, length, &error);
  if (sent < 0) lastError = SocketErrorFromErrno(error);
  return sent;
}

bool CNotifySocket::IsOpen() const { return (udp_ && udp_->IsOpen()) || tcp_ != nullptr; }

bool CNotifySocket::SetBroadcast(bool on) {
  if (!udp_) {
    lastError = kErrNotSocket;
    return false;
  }
  return udp_->SetBroadcast(on) == 0;
}

bool CNotifySocket::SetBuffers(int sendBytes, int receiveBytes) {
  const auto setSend = [&] {
    return tcp_ ? tcp_->SetSendBuffer(sendBytes) : udp_->SetSendBuffer(sendBytes);
  };
  const auto setReceive = [&] {
    return tcp_ ? tcp_->SetReceiveBuffer(receiveBytes) : udp_->SetReceiveBuffer(receiveBytes);
  };
  if (!IsOpen() || setSend() != 0) {
    emit Tell(QString::asprintf("SetSockOpt Error TX(%d) ", sendBytes));
    return false;
  }
  if (setReceive() != 0) {
    emit Tell(QString::asprintf("SetSockOpt Error Rx(%d) ", receiveBytes));
    return false;
  }
  return true;
}

long CNotifySocket::SendTo(const std::uint8_t* data, std::size_t length, std::uint16_t port,
                           const std::string& address, int* error) {
  int& code = error != nullptr ? *error : lastError;
  std::shared_lock lock(udpLock_);
  if (!IsOpen()) {
    code = kErrNotSocket;
    return -1;
  }
  int systemError = 0;
  const long sent = udp_->SendTo(address, port, data, length, &systemError);
  if (sent < 0) code = SocketErrorFromErrno(systemError);
  return sent;
}

void CNotifySocket::ShutDown(ShutHow how) {
  if (IsOpen()) udp_->Shutdown(how);
}

void CNotifySocket::Close() {
  std::unique_ptr<UdpSocket> closing;
  {
    std::unique_lock lock(udpLock_);
    closing = std::move(udp_);
  }
  // The reader thread is joined outside the lock: a send waits for nothing.
  if (closing) closing->Close();
  if (tcp_) {
    tcp_->Close();
    std::exchange(tcp_, nullptr)->deleteLater();
  }
  pending_.clear();
  handled_.clear();
}

void CNotifySocket::ReportError(int code) {
  errorText = QString::fromStdString(SocketErrorText(code));
  if (notifyWindow)
    QCoreApplication::postEvent(notifyWindow, new PrivateMessage(notifyMessage, kFailed, 0));
}

void CNotifySocket::Drain() {
  drainPosted_ = false;
  if (!udp_) return;
  if (udp_->ReceivedWithin(kQuietUs)) {
    if (!holdingBack_.isValid()) holdingBack_.start();
    if (holdingBack_.elapsed() < kHoldBackMs) {
      holdBackTimer_.start();
      return;
    }
  } else {
    holdingBack_.invalidate();
  }
  QElapsedTimer slice;
  slice.start();
  for (;;) {
    if (!udp_) return;
    if (pending_.empty() && udp_->TakeAll(pending_) == 0) break;
    // One at a time, in order: the owner may open a modal box, whose event
    // loop drains further datagrams into the same receive buffer.
    ReceivedDatagram& datagram = handled_.emplace_back(std::move(pending_.front()));
    pending_.pop_front();
    // Should the owner open a box for this one, the rest are handled in its
    // loop rather than behind it.
    if (!pending_.empty() && !drainPosted_) {
      drainPosted_ = true;
      QMetaObject::invokeMethod(this, &CNotifySocket::Drain, Qt::QueuedConnection);
    }
    OnReceive(datagram);  // does not touch the datagram after notifying
    if (slice.elapsed() >= kSliceMs) {
      if (!drainPosted_) {
        drainPosted_ = true;
        QMetaObject::invokeMethod(this, &CNotifySocket::Drain, Qt::QueuedConnection);
      }
      break;
    }
  }
  if (udp_) udp_->Recycle(handled_);
}

void CNotifySocket::OnReceive(const ReceivedDatagram& datagram) {
  receiveBuffer.fill(0);
  if (datagram.failed) {
    receivedLength = 0;
    ReportError(SocketErrorFromErrno(datagram.error));
    return;
  }
  const std::size_t length = std::min(datagram.length, receiveBuffer.size());
  std::copy_n(datagram.data, length, receiveBuffer.begin());
  receivedLength = static_cast<std::uint16_t>(length);
  if (!notifyWindow) return;
  PrivateMessage message(notifyMessage, kData, receivedLength);
  QCoreApplication::sendEvent(notifyWindow, &message);
}

void CNotifySocket::OnConnect(int error) {
  if (error != 0) {
    ReportError(error);
    return;
  }
  emit Tell("Connection is established");
  // Reading starts once the owner can hear of the connection.
  if (tcp_) tcp_->SetReading(true);
  if (notifyWindow)
    QCoreApplication::postEvent(notifyWindow, new PrivateMessage(notifyMessage, kConnected, 0));
}

void CNotifySocket::OnClose(int error) {
  if (error == 0) emit Tell("disconnected");
  // errorText stays as an earlier error left it.
  if (notifyWindow)
    QCoreApplication::postEvent(notifyWindow, new PrivateMessage(notifyMessage, kFailed, 0));
}

void CNotifySocket::OnStreamReadable() {
  // A stream is taken in chunks of the buffer's size, each handed over by
  // its length; after a slice the event loop gets its turn.
  QElapsedTimer slice;
  slice.start();
  while (tcp_ && slice.elapsed() < kSliceMs) {
    // Straight into the buffer: a failed read leaves nothing in it.
    int error = 0;
    const long n = tcp_->Receive(receiveBuffer.data(), receiveBuffer.size(), &error);
    if (n < 0 && (error == EAGAIN || error == EWOULDBLOCK || error == EINTR)) return;
    if (n <= 0) {
      // The socket says nothing more; its owner closes it.
      tcp_->SetReading(false);
      receivedLength = 0;
      if (n == 0)
        OnClose(0);
      else
        ReportError(SocketErrorFromErrno(error));
      return;
    }
    std::fill(receiveBuffer.begin() + n, receiveBuffer.end(), 0);
    receivedLength = static_cast<std::uint16_t>(n);
    if (!notifyWindow) continue;
    PrivateMessage message(notifyMessage, kData, receivedLength);
    QCoreApplication::sendEvent(notifyWindow, &message);
  }
}

}  // namespace torvek
