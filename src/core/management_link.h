// The management link: the one socket on 7981, the requests that go out
// through it and the routes of the answers that come back. Every answer goes
// to its route as a signal that carries its own copy of the datagram, one
// datagram at a time and in the order they arrived; connect them directly,
// so that nothing of a later datagram is handled before an earlier one's
// handlers (and their boxes) are done. No widget: the window, the command
// line and the tests all build on it.
#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>
#include <atomic>
#include <cstdint>

#include "core/frame_sender.h"
#include "core/management_frame.h"
#include "core/notify_socket.h"

namespace torvek {

class ModuleDirectory;

class ManagementLink : public QObject, public SearchingSender {
  Q_OBJECT
 public:
  // Search answers become the directory's rows; the directory's selection
  // names the module of the requests.
  explicit ManagementLink(ModuleDirectory& modules, QObject* parent = nullptr);
  ~ManagementLink() override;

  // Binds the tool's port on every address (or on `address`). False when the
  // port could not be bound, with lastError holding the code.
  bool Open(std::uint16_t port = frame::kToolPort, const QString& address = {});
  // Broadcast on, and the socket buffers of the tool; a failure is told.
  void SetUpSocket();
  bool IsOpen() const { return socket_.IsOpen(); }
  // No request goes out any more; answers still come in.
  void ShutDownSends() { socket_.ShutDown(CNotifySocket::kShutSends); }
  void Close() { socket_.Close(); }
  int lastError = 0;

  // The PC's MAC goes into every request built from the template.
  void SetPcMac(const MacAddress& mac);
  // Six bytes; anything else leaves the source MAC zero.
  void SetPcMac(const QByteArray& mac);

  // The last step before a request other than a file block goes out: the
  // selected module's firmware major and model code. A type text that names
  // no model is told.
  void StampFrame(std::uint8_t* frame, std::size_t length);
  // Stamps and broadcasts a request; false when it could not go out, which
  // has been told.
  bool SendFrame(std::uint8_t* frame, std::size_t length);
  // A request whose answer changes the list: send it and search again.
  bool SendFrameAndSearch(std::uint8_t* frame) override;
  // A search, unless a running file job refuses it (and tells so).
  void FindDevices();
  // A search without the file job's check: the list emptied, the search sent.
  void StartSearch() override;
  // Any thread: a datagram as it is, to one address (or the broadcast
  // address). The bytes sent or -1 with *error set.
  long SendTo(const std::uint8_t* data, std::size_t length, const std::string& address, int* error);

  // Every request of the UI thread is built in here.
  MacAddress pcMac{};
  FrameBuffer FrameTemplate{};
  // Set while a file job's blocks go out through this socket. A search would
  // empty the rows the job sends to; the guards of the other operations read
  // it too. The file sender sets and clears it.
  std::atomic<bool> fileJobRunning{false};

  CNotifySocket& socket() { return socket_; }
  // The socket's notification: 0 for the datagram in its receive buffer,
  // anything else for a failed receive.
  void OnManagementNotify(long long wParam, long long lParam);

 signals:
  // The answers, by route. Each carries the datagram as it arrived.
  void moduleRecord(const QByteArray& datagram);
  void configBlock(const QByteArray& datagram);
  void logoBlock(const QByteArray& datagram);
  void logBlock(const QByteArray& datagram);
  // At most a request's size (1228 bytes) of it.
  void macWriteAnswer(const QByteArray& datagram);
  // A module came back from its defaults; the link searches again itself.
  void searchAgain();
  // A refusal, an address change or an unknown answer: the box to show.
  void refusal(const QString& text);
  // A receive on the socket failed.
  void socketError(const QString& text);
  // Something the operator must be told (a failed send, a type text that
  // names no model, a search refused, socket set-up): a box. `title` empty
  // means the program's name.
  void tell(const QString& text, const QString& title);

 protected:
  bool event(QEvent* event) override;

 private:
  void OnAnswer(const QByteArray& datagram);

  ModuleDirectory& modules_;
  CNotifySocket socket_;
};

}  // namespace torvek
