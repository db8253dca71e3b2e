// torvek-tftp's server: a socket on the TFTP port for requests, and a socket
// of its own for each transfer, all on the thread that created the server.
// The protocol decisions are the transfer state machines'; this carries out
// their actions with Qt sockets and timers.
#pragma once

#include <QElapsedTimer>
#include <QHostAddress>
#include <QObject>
#include <QSocketNotifier>
#include <QString>
#include <QTimer>

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <vector>

#include "served_folder.h"
#include "tftp_throttle.h"
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

  // How many transfers run at once, in all and for one client address: a
  // transfer holds a socket and a file, so the bound in all follows the
  // descriptors the process may open, and one address gets at most half.
  static constexpr std::size_t kMaxTransfers = 256;
  static constexpr std::size_t kMaxPerAddress = 32;
  std::size_t MaxTransfers() const { return maxTransfers_; }
  std::size_t MaxPerAddress() const { return maxPerAddress_; }

 signals:
  void TransferStarted(const tftpd::TransferView& view);
  // One line for each transfer that ended, well or not, refused requests too.
  void TransferEnded(const tftpd::TransferView& view, const QString& line);

 private:
  void OnRequests();
  void HandleRequest(const std::uint8_t* bytes, std::size_t length, const QHostAddress& peer,
                     quint16 peerPort);
  // A request that gets no transfer: the client hears why (unless `code`
  // is kNoAnswer), the log tells it, both within their rations.
  static constexpr int kNoAnswer = -1;
  void Refuse(const QHostAddress& peer, quint16 peerPort, bool write, const std::string& name,
              int code, const std::string& errorText, const std::string& reason);
  std::unique_ptr<TransferSocket> OpenTransferSocket();
  friend class Transfer;
  void Ended(Transfer* transfer, bool ok, const std::string& reason);
  void Remove(Transfer* transfer);
  void FindOwnAddresses();
  // Whether a datagram to `address`:`port` would come back to this server,
  // or reach more than one host: nothing is ever sent there.
  bool Unanswerable(quint32 address, quint16 port) const;
  // Whether an error may go to a client now: never to an unanswerable
  // address, and within the ration of errors.
  bool MayAnswer(quint32 address, quint16 port);
  void FlushRefusals();

  ServerSettings settings_;
  ServedFolder folder_;
  std::unique_ptr<TransferSocket> listener_;
  std::unique_ptr<QSocketNotifier> requests_;
  std::map<quint64, Transfer*> transfers_;
  std::map<quint32, std::size_t> perAddress_;
  std::size_t maxTransfers_ = kMaxTransfers;
  std::size_t maxPerAddress_ = kMaxPerAddress;
  std::set<quint32> ownAddresses_;  // this host's addresses
  std::set<quint32> broadcasts_;    // and its networks' broadcast addresses
  torvek::tftp::Throttle errors_;
  torvek::tftp::RefusalDigest refusals_;
  QTimer refusalTimer_;
  // One receive buffer and one block buffer for every transfer: datagrams
  // are handled one at a time on this thread, and a transfer gets buffers of
  // its own only once its client has answered.
  std::vector<std::uint8_t> incoming_;
  std::vector<std::uint8_t> firstBlock_;
  quint64 nextId_ = 1;
  quint32 nextPort_ = 0;
  QElapsedTimer clock_;
};

// Raises the soft limit of open descriptors to the hard one, so that the
// bound on transfers, not the system's default, decides who is served.
void RaiseDescriptorLimit();

}  // namespace tftpd

Q_DECLARE_METATYPE(tftpd::TransferView)
