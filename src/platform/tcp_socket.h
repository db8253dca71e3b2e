// A non-blocking TCP socket whose events come on the thread that owns it:
// the outcome of a connect, and readiness to read.
#pragma once

#include <QObject>
#include <QSocketNotifier>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace torvek {

class TcpSocket : public QObject {
  Q_OBJECT
 public:
  TcpSocket();
  ~TcpSocket() override;

  // A socket on any local port. Gives 0 or an errno value.
  int Create();
  bool IsOpen() const { return fd_ >= 0; }
  // Each gives 0 or an errno value.
  int SetSendBuffer(int bytes);
  int SetReceiveBuffer(int bytes);
  // Starts a connect and returns at once; `onConnected` brings the outcome
  // (0 or an errno value), also of a connect that failed on the spot.
  void Connect(const std::string& address, std::uint16_t port);
  // Gives the bytes read, 0 when the peer closed, or -1 with `error` set
  // (EAGAIN when nothing is waiting).
  long Receive(std::uint8_t* data, std::size_t size, int* error);
  // Gives the bytes sent or -1 with `error` set. Never raises SIGPIPE.
  long Send(const std::uint8_t* data, std::size_t length, int* error);
  // Whether `onReadable` is called while data waits.
  void SetReading(bool on);
  void Close();

  std::function<void(int error)> onConnected;
  std::function<void()> onReadable;

 private:
  void OnWritable();

  int fd_ = -1;
  std::unique_ptr<QSocketNotifier> readNotifier_;
  std::unique_ptr<QSocketNotifier> writeNotifier_;
};

}  // namespace torvek
