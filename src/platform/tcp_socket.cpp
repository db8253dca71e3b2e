#include "platform/tcp_socket.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <QMetaObject>
#include <cerrno>

namespace torvek {

TcpSocket::TcpSocket() = default;

TcpSocket::~TcpSocket() { Close(); }

int TcpSocket::Create() {
  Close();
  const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  if (fd < 0) return errno;
  sockaddr_in local{};
  local.sin_family = AF_INET;
  local.sin_addr.s_addr = htonl(INADDR_ANY);
  if (::bind(fd, reinterpret_cast<sockaddr*>(&local), sizeof local) != 0) {
    const int error = errno;
    ::close(fd);
    return error;
  }
  fd_ = fd;
  readNotifier_ = std::make_unique<QSocketNotifier>(fd_, QSocketNotifier::Read);
  readNotifier_->setEnabled(false);
  connect(readNotifier_.get(), &QSocketNotifier::activated, this, [this] {
    if (onReadable) onReadable();
  });
  writeNotifier_ = std::make_unique<QSocketNotifier>(fd_, QSocketNotifier::Write);
  writeNotifier_->setEnabled(false);
  connect(writeNotifier_.get(), &QSocketNotifier::activated, this, &TcpSocket::OnWritable);
  return 0;
}

int TcpSocket::SetSendBuffer(int bytes) {
  return ::setsockopt(fd_, SOL_SOCKET, SO_SNDBUF, &bytes, sizeof bytes) == 0 ? 0 : errno;
}

int TcpSocket::SetReceiveBuffer(int bytes) {
  return ::setsockopt(fd_, SOL_SOCKET, SO_RCVBUF, &bytes, sizeof bytes) == 0 ? 0 : errno;
}

void TcpSocket::Connect(const std::string& address, std::uint16_t port) {
  if (fd_ < 0) return;
  sockaddr_in remote{};
  remote.sin_family = AF_INET;
  remote.sin_port = htons(port);
  int error = 0;
  if (::inet_pton(AF_INET, address.c_str(), &remote.sin_addr) != 1)
    error = EADDRNOTAVAIL;
  else if (::connect(fd_, reinterpret_cast<sockaddr*>(&remote), sizeof remote) != 0)
    error = errno;
  if (error == 0 || error == EINPROGRESS) {
    writeNotifier_->setEnabled(true);
    return;
  }
  // Told the way a late failure is, after the caller has finished.
  QMetaObject::invokeMethod(
      this,
      [this, error] {
        if (onConnected) onConnected(error);
      },
      Qt::QueuedConnection);
}

void TcpSocket::OnWritable() {
  writeNotifier_->setEnabled(false);
  int error = 0;
  socklen_t length = sizeof error;
  if (::getsockopt(fd_, SOL_SOCKET, SO_ERROR, &error, &length) != 0) error = errno;
  if (onConnected) onConnected(error);
}

long TcpSocket::Receive(std::uint8_t* data, std::size_t size, int* error) {
  const ssize_t n = ::recv(fd_, data, size, 0);
  if (n < 0) *error = errno;
  return static_cast<long>(n);
}

long TcpSocket::Send(const std::uint8_t* data, std::size_t length, int* error) {
  const ssize_t n = ::send(fd_, data, length, MSG_NOSIGNAL);
  if (n < 0) *error = errno;
  return static_cast<long>(n);
}

void TcpSocket::SetReading(bool on) {
  if (readNotifier_) readNotifier_->setEnabled(on);
}

void TcpSocket::Close() {
  // A close may come from inside a notifier's own signal (a box's loop).
  for (auto* notifier : {&readNotifier_, &writeNotifier_}) {
    if (!*notifier) continue;
    (*notifier)->setEnabled(false);
    (*notifier)->disconnect();
    notifier->release()->deleteLater();
  }
  if (fd_ >= 0) ::close(fd_);
  fd_ = -1;
}

}  // namespace torvek
