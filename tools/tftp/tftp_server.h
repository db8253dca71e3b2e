// torvek-tftp's server: a socket on the TFTP port for requests, and a socket
// of its own for each transfer, all on the thread that created the server.
// The protocol decisions are the transfer state machines'; this carries out
// their actions with Qt sockets and timers.
#pragma once

#include <QElapsedTimer>
#include <QHostAddress>
#include <QObject>
#include <QString>
#include <QUdpSocket>

#include <cstdint>
#include <map>
#include <memory>
#include <vector>

#include "served_folder.h"
#include "transfer_socket.h"

namespace tftpd {

struct ServerSettings {
  QString root;
  quint16 port = 69;
  bool allowUploads = false;
  quint16 portLow = 0;  // transfer sockets from this range; 0: any free port
  quint16 portHigh = 0;
};

// What the window shows of a transfer, running or ended.
struct TransferView {
  quint64 id = 0;
  QString client;
  QString file;
  bool write = false;
  quint64 size = 0;  // 0 while a writing client has not said
  quint64 done = 0;
  quint64 elapsedMs = 0;
  quint64 startedMs = 0;  // on the server's clock
  bool over = false;
  bool ok = false;
  QString reason;
};

class Transfer;

class TftpServer : public QObject {
  Q_OBJECT
 public:
  explicit TftpServer(QObject* parent = nullptr);
  ~TftpServer() override;

  // Binds the port and serves the folder. On failure `error` says why, and
  // `needsPrivilege` tells a refused port below 1024 from any other failure.
  bool Start(const ServerSettings& settings, QString& error, bool& needsPrivilege);
  void Stop();
  bool Serving() const { return listener_ != nullptr; }
  quint16 Port() const;
  void SetAllowUploads(bool allow) { settings_.allowUploads = allow; }

  std::vector<TransferView> RunningTransfers() const;
  std::uint64_t NowMs() const { return static_cast<std::uint64_t>(clock_.elapsed()); }

 signals:
  void TransferStarted(const tftpd::TransferView& view);
  // One line for each transfer that ended, well or not, refused requests too.
  void TransferEnded(const tftpd::TransferView& view, const QString& line);

 private:
  void OnRequests();
  void HandleRequest(const QByteArray& datagram, const QHostAddress& peer, quint16 peerPort);
  void Refuse(const QHostAddress& peer, quint16 peerPort, bool write, const std::string& name,
              std::uint16_t code, const std::string& errorText, const std::string& reason);
  std::unique_ptr<TransferSocket> OpenTransferSocket();
  friend class Transfer;
  void Ended(Transfer* transfer, bool ok, const std::string& reason);
  void Remove(Transfer* transfer);

  ServerSettings settings_;
  ServedFolder folder_;
  std::unique_ptr<QUdpSocket> listener_;
  std::map<quint64, Transfer*> transfers_;
  quint64 nextId_ = 1;
  quint32 nextPort_ = 0;
  QElapsedTimer clock_;
};

}  // namespace tftpd

Q_DECLARE_METATYPE(tftpd::TransferView)
