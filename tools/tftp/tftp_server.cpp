#include "tftp_server.h"

#include <QNetworkDatagram>
#include <QSocketNotifier>
#include <QTimer>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <optional>

#include "tftp_names.h"
#include "tftp_packet.h"
#include "tftp_texts.h"
#include "tftp_transfer.h"

namespace tftpd {

using namespace torvek::tftp;

namespace {

QString ClientText(const QHostAddress& address, quint16 port) {
  return address.toString() + ":" + QString::number(port);
}

sockaddr_in Endpoint(const QHostAddress& address, quint16 port) {
  sockaddr_in endpoint{};
  endpoint.sin_family = AF_INET;
  endpoint.sin_port = htons(port);
  endpoint.sin_addr.s_addr = htonl(address.toIPv4Address());
  return endpoint;
}

// A netascii read goes from memory: the file as it will be on the wire.
// Text files are small; an image asked for as text is refused.
constexpr std::uint64_t kNetasciiLimit = 64 << 20;

bool ReadWhole(int fd, std::uint64_t size, std::vector<std::uint8_t>& out) {
  out.resize(size);
  std::uint64_t done = 0;
  while (done < size) {
    const ssize_t got = ::pread(fd, out.data() + done, size - done, static_cast<off_t>(done));
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return false;
    done += static_cast<std::uint64_t>(got);
  }
  return true;
}

}  // namespace

class Transfer : public QObject {
 public:
  Transfer(TftpServer* server, std::unique_ptr<TransferSocket> socket, const QHostAddress& peer,
           quint16 peerPort, TransferParameters parameters)
      : QObject(server), server_(server), socket_(std::move(socket)),
        parameters_(std::move(parameters)),
        notifier_(socket_->Descriptor(), QSocketNotifier::Read) {
    peerAddress_ = Endpoint(peer, peerPort);
    timer_.setSingleShot(true);
    timer_.setTimerType(Qt::PreciseTimer);
    connect(&timer_, &QTimer::timeout, this, &Transfer::OnTimer);
    connect(&notifier_, &QSocketNotifier::activated, this, &Transfer::OnReadable);
    incoming_.resize(kDataHeaderLength + 65536);
  }
  ~Transfer() override {
    if (fd_ >= 0) ::close(fd_);
  }

  void BeginRead(int fd, std::uint64_t size, std::vector<std::uint8_t> netascii, bool fromMemory) {
    fd_ = fd;
    memory_ = std::move(netascii);
    fromMemory_ = fromMemory;
    read_.emplace(size, parameters_);
    Actions actions;
    read_->Start(server_->NowMs(), actions);
    Execute(actions);
  }

  void BeginWrite(bool netascii) {
    netascii_ = netascii;
    write_.emplace(parameters_);
    Actions actions;
    write_->Start(server_->NowMs(), actions);
    Execute(actions);
  }

  // The server stops: the client is told, the outcome is reported.
  void Abort(const std::string& text) {
    if (closed_) return;
    Send(MakeError(kNotDefined, text));
    upload_.Discard();
    MarkClosed();
    server_->Ended(this, false, text);
  }

  TransferView view;
  std::string name;  // as the client sent it
  Upload upload_;

  quint64 Done() const {
    if (read_) return read_->BytesDone();
    if (write_) return write_->BytesDone();
    return 0;
  }
  std::uint64_t Retransmissions() const {
    if (read_) return read_->Retransmissions();
    if (write_) return write_->Retransmissions();
    return 0;
  }
  const sockaddr_in& PeerAddress() const { return peerAddress_; }

 private:
  void OnReadable() {
    // A bounded batch, so that other transfers and the window get their turn;
    // the notifier fires again for what is left.
    for (int batch = 0; batch < 64 && !closed_; ++batch) {
      sockaddr_in from{};
      const long got = socket_->Receive(incoming_.data(), incoming_.size(), from);
      if (got < 0) break;
      if (!SameEndpoint(from, peerAddress_)) {
        // Another sender on this transfer's port is told off and not heard.
        const auto error = MakeError(kUnknownTransferId, "Unknown transfer ID");
        socket_->Send(from, error.data(), error.size());
        continue;
      }
      Packet packet;
      std::string why;
      if (!ParsePacket(incoming_.data(), static_cast<std::size_t>(got), packet, why)) continue;
      // One list for every packet, so that a block costs no allocation.
      packetActions_.clear();
      if (read_)
        read_->OnPacket(packet, server_->NowMs(), packetActions_);
      else
        write_->OnPacket(packet, server_->NowMs(), packetActions_);
      Execute(packetActions_);
    }
  }

  void OnTimer() {
    if (closed_) return;
    Actions actions;
    if (read_)
      read_->OnTimer(server_->NowMs(), actions);
    else
      write_->OnTimer(server_->NowMs(), actions);
    Execute(actions);
  }

  void Send(const std::vector<std::uint8_t>& packet) {
    socket_->Send(peerAddress_, packet.data(), packet.size());
  }

  // The block's bytes where they lie: in memory for netascii, otherwise in
  // a read-ahead of the file that serves many blocks with one read.
  const std::uint8_t* BlockBytes(std::uint64_t offset, std::size_t length, std::string& why) {
    if (fromMemory_) return memory_.data() + offset;
    if (offset < cacheOffset_ || offset + length > cacheOffset_ + cacheLength_) {
      cache_.resize(std::max<std::size_t>(kReadAhead, length));
      cacheOffset_ = offset;
      cacheLength_ = 0;
      while (cacheLength_ < cache_.size()) {
        const ssize_t got = ::pread(fd_, cache_.data() + cacheLength_, cache_.size() - cacheLength_,
                                    static_cast<off_t>(offset + cacheLength_));
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) {
          why = std::strerror(errno);
          return nullptr;
        }
        if (got == 0) break;
        cacheLength_ += static_cast<std::size_t>(got);
      }
      if (cacheLength_ < length) {
        why = "File changed while being read";
        return nullptr;
      }
    }
    return cache_.data() + (offset - cacheOffset_);
  }

  bool SendBlock(std::uint64_t block, std::string& why) {
    const std::size_t length = read_->BlockLength(block);
    const std::uint8_t* bytes = BlockBytes(read_->BlockOffset(block), length, why);
    if (!bytes) return false;
    std::uint8_t header[kDataHeaderLength];
    WriteDataHeader(header, static_cast<std::uint16_t>(block & 0xffff));
    const iovec parts[2] = {{header, kDataHeaderLength},
                            {const_cast<std::uint8_t*>(bytes), length}};
    socket_->Send(peerAddress_, parts, 2);
    return true;
  }

  bool WriteBlock(const std::uint8_t* data, std::size_t length, std::string& why) {
    if (!netascii_) return upload_.Write(data, length, why);
    decoded_.clear();
    decoder_.Feed(data, length, decoded_);
    return upload_.Write(decoded_.data(), decoded_.size(), why);
  }

  void Execute(const Actions& actions) {
    for (const Action& action : actions) {
      if (closed_) return;
      std::string why;
      switch (action.kind) {
        case Action::SendOack: Send(MakeOack(parameters_.oack)); break;
        case Action::SendData:
          if (!SendBlock(action.block, why)) {
            Send(MakeError(kNotDefined, why));
            Close(false, why);
            return;
          }
          break;
        case Action::SendAck: Send(MakeAck(static_cast<std::uint16_t>(action.block))); break;
        case Action::SendError: Send(MakeError(action.code, action.text)); break;
        case Action::Write:
          if (!WriteBlock(action.data, action.length, why)) {
            Actions failed;
            write_->OnWriteFailed(why, failed);
            Execute(failed);
            return;
          }
          break;
        case Action::ArmTimer: timer_.start(static_cast<int>(action.milliseconds)); break;
        case Action::Finished:
          if (!Finish(action.ok, action.text) && action.ok) {
            // The last block came but the file could not be put in place.
            Send(MakeError(kDiskFull, "Could not store the file"));
            MarkClosed();
            server_->Remove(this);
            return;
          }
          break;
        case Action::Close:
          MarkClosed();
          server_->Remove(this);
          return;
      }
    }
  }

  // Reports the outcome; false when the transfer failed or an upload could
  // not be put in place.
  bool Finish(bool ok, std::string reason) {
    if (write_) {
      if (ok) {
        if (netascii_) {
          decoded_.clear();
          decoder_.Finish(decoded_);
          ok = upload_.Write(decoded_.data(), decoded_.size(), reason);
        }
        if (ok) ok = upload_.Commit(reason);
      }
      if (!ok) upload_.Discard();
    }
    server_->Ended(this, ok, reason);
    return ok;
  }

  void Close(bool ok, const std::string& reason) {
    Finish(ok, reason);
    MarkClosed();
    server_->Remove(this);
  }

  // Nothing reaches a transfer that is over, though its object lives on
  // until the event loop deletes it.
  void MarkClosed() {
    closed_ = true;
    timer_.stop();
    notifier_.setEnabled(false);
  }

  TftpServer* server_;
  static constexpr std::size_t kReadAhead = 256 * 1024;

  std::unique_ptr<TransferSocket> socket_;
  sockaddr_in peerAddress_{};
  TransferParameters parameters_;
  QSocketNotifier notifier_;
  QTimer timer_;
  std::optional<ReadTransfer> read_;
  std::optional<WriteTransfer> write_;
  int fd_ = -1;
  std::vector<std::uint8_t> memory_;
  bool fromMemory_ = false;
  bool netascii_ = false;
  NetasciiDecoder decoder_;
  std::vector<std::uint8_t> decoded_;
  std::vector<std::uint8_t> cache_;
  std::uint64_t cacheOffset_ = 0;
  std::size_t cacheLength_ = 0;
  std::vector<std::uint8_t> incoming_;
  Actions packetActions_;
  bool closed_ = false;
};

TftpServer::TftpServer(QObject* parent) : QObject(parent) {
  qRegisterMetaType<TransferView>();
  clock_.start();
}

// Transfers are the server's children and go with it.
TftpServer::~TftpServer() = default;

bool TftpServer::Start(const ServerSettings& settings, QString& error, bool& needsPrivilege) {
  Stop();
  needsPrivilege = false;
  std::string why;
  if (!folder_.Open(settings.root.toStdString(), why)) {
    error =
        QString("Cannot serve the folder %1: %2").arg(settings.root, QString::fromStdString(why));
    return false;
  }
  auto listener = std::make_unique<QUdpSocket>();
  if (!listener->bind(QHostAddress::AnyIPv4, settings.port)) {
    needsPrivilege =
        settings.port < 1024 && listener->error() == QAbstractSocket::SocketAccessError;
    error =
        QString("Cannot listen on UDP port %1: %2").arg(settings.port).arg(listener->errorString());
    return false;
  }
  settings_ = settings;
  listener_ = std::move(listener);
  connect(listener_.get(), &QUdpSocket::readyRead, this, &TftpServer::OnRequests);
  return true;
}

void TftpServer::Stop() {
  const auto running = transfers_;
  for (auto& [id, transfer] : running) transfer->Abort("Server stopped");
  for (auto& [id, transfer] : transfers_) delete transfer;
  transfers_.clear();
  listener_.reset();
}

quint16 TftpServer::Port() const { return listener_ ? listener_->localPort() : 0; }

std::vector<TransferView> TftpServer::RunningTransfers() const {
  std::vector<TransferView> views;
  for (const auto& [id, transfer] : transfers_) {
    TransferView view = transfer->view;
    view.done = transfer->Done();
    view.elapsedMs = NowMs() - view.startedMs;
    views.push_back(view);
  }
  return views;
}

void TftpServer::OnRequests() {
  while (listener_ && listener_->hasPendingDatagrams()) {
    const QNetworkDatagram datagram = listener_->receiveDatagram();
    if (!datagram.isValid()) break;
    HandleRequest(datagram.data(), datagram.senderAddress(),
                  static_cast<quint16>(datagram.senderPort()));
  }
}

void TftpServer::Refuse(const QHostAddress& peer, quint16 peerPort, bool write,
                        const std::string& name, std::uint16_t code, const std::string& errorText,
                        const std::string& reason) {
  const auto error = MakeError(code, errorText);
  listener_->writeDatagram(reinterpret_cast<const char*>(error.data()),
                           static_cast<qint64>(error.size()), peer, peerPort);
  TransferView view;
  view.client = ClientText(peer, peerPort);
  view.file = QString::fromStdString(PrintableName(name));
  view.write = write;
  view.over = true;
  view.reason = QString::fromStdString(reason);
  TransferOutcome outcome;
  outcome.client = view.client.toStdString();
  outcome.write = write;
  outcome.fileName = name;
  outcome.reason = reason;
  emit TransferEnded(view, QString::fromStdString(OutcomeLine(outcome)));
}

std::unique_ptr<TransferSocket> TftpServer::OpenTransferSocket() {
  auto socket = std::make_unique<TransferSocket>();
  if (settings_.portLow == 0) return socket->Bind(0) ? std::move(socket) : nullptr;
  const quint32 count = settings_.portHigh - settings_.portLow + 1u;
  for (quint32 tried = 0; tried < count; ++tried) {
    const auto port = static_cast<quint16>(settings_.portLow + (nextPort_++ % count));
    if (socket->Bind(port)) return socket;
  }
  return nullptr;
}

void TftpServer::HandleRequest(const QByteArray& datagram, const QHostAddress& peer,
                               quint16 peerPort) {
  Packet request;
  std::string why;
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(datagram.constData());
  if (!ParsePacket(bytes, static_cast<std::size_t>(datagram.size()), request, why)) {
    const bool write = datagram.size() >= 2 && bytes[0] == 0 && bytes[1] == 2;
    Refuse(peer, peerPort, write, "", kIllegalOperation, why, why);
    return;
  }
  if (request.opcode != Opcode::Rrq && request.opcode != Opcode::Wrq) {
    const auto error = MakeError(kIllegalOperation, "Illegal TFTP operation");
    listener_->writeDatagram(reinterpret_cast<const char*>(error.data()),
                             static_cast<qint64>(error.size()), peer, peerPort);
    return;
  }
  const bool write = request.opcode == Opcode::Wrq;
  const std::string& name = request.fileName;
  // A client that did not hear from its transfer yet asks again: the
  // transfer's own retransmission answers it.
  for (const auto& [id, transfer] : transfers_) {
    if (SameEndpoint(transfer->PeerAddress(), Endpoint(peer, peerPort)) &&
        transfer->view.write == write && transfer->name == name)
      return;
  }
  if (write && !settings_.allowUploads) {
    Refuse(peer, peerPort, write, name, kAccessViolation, "Uploads are not allowed",
           "refused: uploads are not allowed");
    return;
  }
  std::string relative;
  if (!CheckRequestName(name, relative, why)) {
    Refuse(peer, peerPort, write, name, kAccessViolation, "Access violation", "refused: " + why);
    return;
  }

  std::unique_ptr<TransferSocket> socket = OpenTransferSocket();
  if (!socket) {
    Refuse(peer, peerPort, write, name, kNotDefined, "No port free for the transfer",
           "no port free for the transfer");
    return;
  }
  const ServerLimits limits;
  const quint64 id = nextId_++;
  TransferView view;
  view.id = id;
  view.client = ClientText(peer, peerPort);
  view.file = QString::fromStdString(PrintableName(name));
  view.write = write;
  view.startedMs = NowMs();

  if (!write) {
    int fd = -1;
    std::uint64_t size = 0;
    const OpenResult opened = folder_.OpenForRead(relative, fd, size);
    if (!opened.ok) {
      Refuse(peer, peerPort, write, name, opened.code,
             opened.refused ? "Access violation" : opened.why,
             opened.refused ? "refused: " + opened.why : opened.why);
      return;
    }
    std::vector<std::uint8_t> memory;
    const bool netascii = request.mode == Mode::Netascii;
    if (netascii && size > kNetasciiLimit) {
      ::close(fd);
      Refuse(peer, peerPort, write, name, kNotDefined, "File too large for netascii",
             "too large for netascii");
      return;
    }
    if (netascii) {
      std::vector<std::uint8_t> raw;
      if (!ReadWhole(fd, size, raw)) {
        ::close(fd);
        Refuse(peer, peerPort, write, name, kNotDefined, "Read error", "read error");
        return;
      }
      memory = ToNetascii(raw);
      size = memory.size();
    }
    auto* transfer =
        new Transfer(this, std::move(socket), peer, peerPort, Negotiate(request, limits, size));
    view.size = size;
    transfer->view = view;
    transfer->name = name;
    transfers_[id] = transfer;
    emit TransferStarted(view);
    transfer->BeginRead(fd, size, std::move(memory), netascii);
    return;
  }

  const TransferParameters parameters = Negotiate(request, limits, 0);
  auto* transfer = new Transfer(this, std::move(socket), peer, peerPort, parameters);
  const OpenResult created = folder_.CreateUpload(relative, transfer->upload_);
  if (!created.ok) {
    delete transfer;
    Refuse(peer, peerPort, write, name, created.code,
           created.refused ? "Access violation" : created.why,
           created.refused ? "refused: " + created.why : created.why);
    return;
  }
  view.size = parameters.announcedSize.value_or(0);
  transfer->view = view;
  transfer->name = name;
  transfers_[id] = transfer;
  emit TransferStarted(view);
  transfer->BeginWrite(request.mode == Mode::Netascii);
}

void TftpServer::Ended(Transfer* transfer, bool ok, const std::string& reason) {
  TransferView view = transfer->view;
  view.done = transfer->Done();
  view.elapsedMs = NowMs() - view.startedMs;
  view.over = true;
  view.ok = ok;
  view.reason = QString::fromStdString(reason);
  TransferOutcome outcome;
  outcome.ok = ok;
  outcome.client = view.client.toStdString();
  outcome.write = view.write;
  outcome.fileName = transfer->name;
  outcome.bytes = view.done;
  outcome.elapsedMs = view.elapsedMs;
  outcome.retransmissions = transfer->Retransmissions();
  outcome.reason = reason;
  emit TransferEnded(view, QString::fromStdString(OutcomeLine(outcome)));
}

void TftpServer::Remove(Transfer* transfer) {
  transfers_.erase(transfer->view.id);
  transfer->deleteLater();
}

}  // namespace tftpd
