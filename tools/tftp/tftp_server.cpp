#include "tftp_server.h"

#include <QNetworkInterface>
#include <QSocketNotifier>
#include <QTimer>

#include <fcntl.h>
#include <sys/resource.h>
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

std::string AddressText(std::uint32_t address) {
  return QHostAddress(address).toString().toStdString();
}

sockaddr_in Endpoint(const QHostAddress& address, quint16 port) {
  sockaddr_in endpoint{};
  endpoint.sin_family = AF_INET;
  endpoint.sin_port = htons(port);
  endpoint.sin_addr.s_addr = htonl(address.toIPv4Address());
  return endpoint;
}

long long ReadAt(int fd, std::uint64_t offset, std::uint8_t* buffer, std::size_t length) {
  for (;;) {
    const ssize_t got = ::pread(fd, buffer, length, static_cast<off_t>(offset));
    if (got >= 0 || errno != EINTR) return got;
  }
}

// Errors to clients: a client that keeps getting refused hears about it
// ten times a second at most, and all of them together 200 times.
constexpr Throttle::Rate kErrorsPerAddress{10, 20};
constexpr Throttle::Rate kErrorsInAll{200, 200};

// Descriptors kept free of transfers: the listener, the window, the event
// loop, a log.
constexpr std::size_t kSpareDescriptors = 64;

}  // namespace

void RaiseDescriptorLimit() {
  rlimit limit{};
  if (::getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur >= limit.rlim_max) return;
  limit.rlim_cur = limit.rlim_max;
  ::setrlimit(RLIMIT_NOFILE, &limit);
}

class Transfer : public QObject {
 public:
  Transfer(TftpServer* server, std::unique_ptr<TransferSocket> socket, const QHostAddress& peer,
           quint16 peerPort, TransferParameters parameters)
      : QObject(server), server_(server), socket_(std::move(socket)),
        parameters_(std::move(parameters)),
        notifier_(socket_->Descriptor(), QSocketNotifier::Read) {
    peerAddress_ = Endpoint(peer, peerPort);
    peerIp_ = peer.toIPv4Address();
    timer_.setSingleShot(true);
    timer_.setTimerType(Qt::PreciseTimer);
    connect(&timer_, &QTimer::timeout, this, &Transfer::OnTimer);
    connect(&notifier_, &QSocketNotifier::activated, this, &Transfer::OnReadable);
  }
  ~Transfer() override {
    if (fd_ >= 0) ::close(fd_);
  }

  // `size` is none for netascii, whose size on the wire is known only at
  // its end: its blocks are made from the file one at a time.
  void BeginRead(int fd, std::optional<std::uint64_t> size) {
    fd_ = fd;
    if (!size) {
      netascii_.emplace(parameters_.blockSize,
                        [fd](std::uint64_t offset, std::uint8_t* buffer, std::size_t length) {
                          return ReadAt(fd, offset, buffer, length);
                        });
      fileSize_ = 0;
    } else {
      fileSize_ = *size;
    }
    read_.emplace(size, parameters_);
    Actions actions;
    read_->Start(server_->NowMs(), actions);
    Execute(actions);
  }

  void BeginWrite(bool netascii) {
    netasciiUpload_ = netascii;
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
  quint32 PeerIp() const { return peerIp_; }
  quint16 LocalPort() const { return socket_->LocalPort(); }

 private:
  void OnReadable() {
    std::vector<std::uint8_t>& incoming = server_->incoming_;
    // A bounded batch, so that other transfers and the window get their turn;
    // the notifier fires again for what is left.
    for (int batch = 0; batch < 64 && !closed_; ++batch) {
      sockaddr_in from{};
      const long got = socket_->Receive(incoming.data(), incoming.size(), from);
      if (got < 0) break;
      if (!SameEndpoint(from, peerAddress_)) {
        // Another sender on this transfer's port is told off and not heard;
        // an error is never answered, or two servers could answer each
        // other's for ever.
        const bool error = got >= 2 && incoming[0] == 0 && incoming[1] == 5;
        if (!error && server_->MayAnswer(ntohl(from.sin_addr.s_addr), ntohs(from.sin_port))) {
          const auto answer = MakeError(kUnknownTransferId, "Unknown transfer ID");
          socket_->Send(from, answer.data(), answer.size());
        }
        continue;
      }
      Packet packet;
      std::string why;
      if (!ParsePacket(incoming.data(), static_cast<std::size_t>(got), packet, why)) continue;
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

  // The block's bytes where they lie. Until the client has answered, a block
  // is read into the server's one buffer for first blocks; after that, into
  // a read-ahead of the file that serves many blocks with one read.
  const std::uint8_t* BlockBytes(std::uint64_t offset, std::size_t length, std::string& why) {
    std::vector<std::uint8_t>* buffer = &cache_;
    if (!read_->Heard()) {
      buffer = &server_->firstBlock_;
      cacheLength_ = 0;  // the read-ahead, if any, is not in that buffer
    } else if (offset >= cacheOffset_ && offset + length <= cacheOffset_ + cacheLength_) {
      return cache_.data() + (offset - cacheOffset_);
    }
    const std::uint64_t rest = fileSize_ > offset ? fileSize_ - offset : 0;
    const std::size_t wanted =
        read_->Heard() ? std::max<std::size_t>(std::min<std::uint64_t>(kReadAhead, rest), length)
                       : length;
    if (buffer->size() < wanted) buffer->resize(wanted);
    std::size_t got = 0;
    while (got < wanted) {
      const long long n = ReadAt(fd_, offset + got, buffer->data() + got, wanted - got);
      if (n < 0) {
        why = std::strerror(errno);
        return nullptr;
      }
      if (n == 0) break;
      got += static_cast<std::size_t>(n);
    }
    if (got < length) {
      why = "File changed while being read";
      return nullptr;
    }
    if (buffer == &cache_) {
      cacheOffset_ = offset;
      cacheLength_ = got;
    }
    return buffer->data();
  }

  bool SendBlock(std::uint64_t block, std::string& why) {
    const std::uint8_t* bytes = nullptr;
    std::size_t length = 0;
    if (netascii_) {
      // Blocks of a window beyond the end, once it is known, are not sent.
      if (block > read_->LastBlock()) return true;
      if (!netascii_->Block(block, netasciiBlock_)) {
        why = "Read error";
        return false;
      }
      bytes = netasciiBlock_.data();
      length = netasciiBlock_.size();
      if (length < parameters_.blockSize)
        read_->KnownSize((block - 1) * parameters_.blockSize + length);
    } else {
      length = read_->BlockLength(block);
      bytes = BlockBytes(read_->BlockOffset(block), length, why);
      if (!bytes) return false;
    }
    std::uint8_t header[kDataHeaderLength];
    WriteDataHeader(header, static_cast<std::uint16_t>(block & 0xffff));
    const iovec parts[2] = {{header, kDataHeaderLength},
                            {const_cast<std::uint8_t*>(bytes), length}};
    socket_->Send(peerAddress_, parts, 2);
    return true;
  }

  bool WriteBlock(const std::uint8_t* data, std::size_t length, std::string& why) {
    if (!netasciiUpload_) return upload_.Write(data, length, why);
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
        if (netasciiUpload_) {
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
  quint32 peerIp_ = 0;
  TransferParameters parameters_;
  QSocketNotifier notifier_;
  QTimer timer_;
  std::optional<ReadTransfer> read_;
  std::optional<WriteTransfer> write_;
  int fd_ = -1;
  std::uint64_t fileSize_ = 0;
  std::optional<NetasciiBlocks> netascii_;
  std::vector<std::uint8_t> netasciiBlock_;
  bool netasciiUpload_ = false;
  NetasciiDecoder decoder_;
  std::vector<std::uint8_t> decoded_;
  std::vector<std::uint8_t> cache_;
  std::uint64_t cacheOffset_ = 0;
  std::size_t cacheLength_ = 0;
  Actions packetActions_;
  bool closed_ = false;
};

TftpServer::TftpServer(QObject* parent)
    : QObject(parent), errors_(kErrorsPerAddress, kErrorsInAll) {
  qRegisterMetaType<TransferView>();
  clock_.start();
  refusalTimer_.setSingleShot(true);
  connect(&refusalTimer_, &QTimer::timeout, this, &TftpServer::FlushRefusals);
}

// Transfers are the server's children and go with it.
TftpServer::~TftpServer() = default;

bool TftpServer::Start(const ServerSettings& settings, QString& error, bool& needsPrivilege) {
  Stop();
  needsPrivilege = false;
  incoming_.resize(kDataHeaderLength + 65536);
  std::string why;
  if (!folder_.Open(settings.root.toStdString(), why)) {
    error =
        QString("Cannot serve the folder %1: %2").arg(settings.root, QString::fromStdString(why));
    return false;
  }
  // The request port is read like a transfer's: straight, in batches, from a
  // notifier that fires again as long as anything waits.
  auto listener = std::make_unique<TransferSocket>();
  if (!listener->Bind(settings.port)) {
    const int failure = errno;
    needsPrivilege = settings.port < 1024 && (failure == EACCES || failure == EPERM);
    error = QString("Cannot listen on UDP port %1: %2")
                .arg(settings.port)
                .arg(QString::fromLocal8Bit(std::strerror(failure)));
    return false;
  }
  settings_ = settings;
  listener_ = std::move(listener);
  requests_ = std::make_unique<QSocketNotifier>(listener_->Descriptor(), QSocketNotifier::Read);
  connect(requests_.get(), &QSocketNotifier::activated, this, &TftpServer::OnRequests);

  // A transfer holds two descriptors: its socket and its file.
  rlimit limit{};
  std::size_t descriptors = 1024;
  if (::getrlimit(RLIMIT_NOFILE, &limit) == 0)
    descriptors = limit.rlim_cur == RLIM_INFINITY ? SIZE_MAX : limit.rlim_cur;
  maxTransfers_ = descriptors < kSpareDescriptors + 2
                      ? 1
                      : std::min(kMaxTransfers, (descriptors - kSpareDescriptors) / 2);
  if (settings_.portLow != 0)
    maxTransfers_ =
        std::min<std::size_t>(maxTransfers_, settings_.portHigh - settings_.portLow + 1u);
  maxPerAddress_ = std::min(kMaxPerAddress, std::max<std::size_t>(1, maxTransfers_ / 2));
  FindOwnAddresses();
  return true;
}

void TftpServer::Stop() {
  const auto running = transfers_;
  for (auto& [id, transfer] : running) transfer->Abort("Server stopped");
  for (auto& [id, transfer] : transfers_) delete transfer;
  transfers_.clear();
  perAddress_.clear();
  requests_.reset();
  listener_.reset();
  if (refusals_.Pending()) {
    refusalTimer_.stop();
    for (const std::string& line : refusals_.Flush(refusals_.DueMs(), AddressText))
      emit TransferEnded(TransferView{}, QString::fromStdString(line));
  }
  std::vector<std::uint8_t>().swap(incoming_);
  std::vector<std::uint8_t>().swap(firstBlock_);
}

quint16 TftpServer::Port() const { return listener_ ? listener_->LocalPort() : 0; }

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

void TftpServer::FindOwnAddresses() {
  ownAddresses_.clear();
  broadcasts_.clear();
  for (const QNetworkInterface& interface : QNetworkInterface::allInterfaces()) {
    for (const QNetworkAddressEntry& entry : interface.addressEntries()) {
      if (entry.ip().protocol() != QAbstractSocket::IPv4Protocol) continue;
      ownAddresses_.insert(entry.ip().toIPv4Address());
      if (!entry.broadcast().isNull()) broadcasts_.insert(entry.broadcast().toIPv4Address());
    }
  }
}

bool TftpServer::Unanswerable(quint32 address, quint16 port) const {
  if (port == 0 || address == 0 || address == 0xffffffffu) return true;
  if ((address >> 28) == 0xe || broadcasts_.count(address)) return true;  // multicast, broadcast
  const bool own = (address >> 24) == 127 || ownAddresses_.count(address);
  if (!own) return false;
  if (port == Port()) return true;
  return std::any_of(transfers_.begin(), transfers_.end(),
                     [port](const auto& entry) { return entry.second->LocalPort() == port; });
}

bool TftpServer::MayAnswer(quint32 address, quint16 port) {
  return !Unanswerable(address, port) && errors_.Allow(address, NowMs());
}

void TftpServer::OnRequests() {
  // A bounded batch, so that a flood of requests leaves the transfers their
  // turn; what is left is taken on the next pass of the event loop.
  for (int batch = 0; batch < 256 && listener_; ++batch) {
    sockaddr_in from{};
    const long got = listener_->Receive(incoming_.data(), incoming_.size(), from);
    if (got < 0) return;
    HandleRequest(incoming_.data(), static_cast<std::size_t>(got),
                  QHostAddress(ntohl(from.sin_addr.s_addr)), ntohs(from.sin_port));
  }
}

void TftpServer::Refuse(const QHostAddress& peer, quint16 peerPort, bool write,
                        const std::string& name, int code, const std::string& errorText,
                        const std::string& reason) {
  const quint32 address = peer.toIPv4Address();
  if (code != kNoAnswer && MayAnswer(address, peerPort)) {
    const auto error = MakeError(static_cast<std::uint16_t>(code), errorText);
    listener_->Send(Endpoint(peer, peerPort), error.data(), error.size());
  }
  const std::uint64_t now = NowMs();
  if (refusals_.Pending() && now >= refusals_.DueMs()) FlushRefusals();
  const bool ownLine = refusals_.Note(address, reason, now);
  if (refusals_.Pending() && !refusalTimer_.isActive())
    refusalTimer_.start(static_cast<int>(refusals_.DueMs() - std::min(now, refusals_.DueMs())));
  if (!ownLine) return;
  TransferView view;
  view.client = ClientText(peer, peerPort);
  view.file = QString::fromStdString(PrintableName(name));
  view.write = write;
  view.over = true;
  view.reason = QString::fromStdString(PrintableText(reason));
  TransferOutcome outcome;
  outcome.client = view.client.toStdString();
  outcome.write = write;
  outcome.fileName = name;
  outcome.reason = reason;
  emit TransferEnded(view, QString::fromStdString(OutcomeLine(outcome)));
}

void TftpServer::FlushRefusals() {
  const std::uint64_t now = NowMs();
  if (now < refusals_.DueMs()) {
    refusalTimer_.start(static_cast<int>(refusals_.DueMs() - now));
    return;
  }
  for (const std::string& line : refusals_.Flush(now, AddressText))
    emit TransferEnded(TransferView{}, QString::fromStdString(line));
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

void TftpServer::HandleRequest(const std::uint8_t* bytes, std::size_t length,
                               const QHostAddress& peer, quint16 peerPort) {
  const quint32 address = peer.toIPv4Address();
  const bool write = length >= 2 && bytes[0] == 0 && bytes[1] == 2;
  // Nothing from this host's own ports, nor from an address that reaches
  // many, gets a transfer or an answer: it can only be forged.
  if (Unanswerable(address, peerPort)) {
    Refuse(peer, peerPort, write, "", kNoAnswer, "", "ignored: forged sender");
    return;
  }
  // Data, acknowledgements, errors and option acknowledgements belong to a
  // transfer's port. Here they are never answered: an answer to another
  // server's error would be answered in turn, without end.
  if (length >= 2 && bytes[0] == 0 && bytes[1] >= 3 && bytes[1] <= 6) {
    Refuse(peer, peerPort, write, "", kNoAnswer, "", "ignored: not a request");
    return;
  }
  Packet request;
  std::string why;
  if (!ParsePacket(bytes, length, request, why)) {
    Refuse(peer, peerPort, write, "", kIllegalOperation, why, why);
    return;
  }
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
  if (transfers_.size() >= maxTransfers_) {
    Refuse(peer, peerPort, write, name, kNotDefined, "Server busy, try again later",
           "refused: " + std::to_string(maxTransfers_) + " transfers running");
    return;
  }
  const auto count = perAddress_.find(address);
  if (count != perAddress_.end() && count->second >= maxPerAddress_) {
    Refuse(peer, peerPort, write, name, kNotDefined, "Too many transfers from this address",
           "refused: " + std::to_string(maxPerAddress_) + " transfers from this address");
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
    // Netascii is made block by block as it goes: its size on the wire is
    // known only at the end.
    std::optional<std::uint64_t> wireSize;
    if (request.mode == Mode::Octet) wireSize = size;
    auto* transfer =
        new Transfer(this, std::move(socket), peer, peerPort, Negotiate(request, limits, wireSize));
    view.size = wireSize.value_or(0);
    transfer->view = view;
    transfer->name = name;
    transfers_[id] = transfer;
    ++perAddress_[address];
    emit TransferStarted(view);
    transfer->BeginRead(fd, wireSize);
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
  ++perAddress_[address];
  emit TransferStarted(view);
  transfer->BeginWrite(request.mode == Mode::Netascii);
}

void TftpServer::Ended(Transfer* transfer, bool ok, const std::string& reason) {
  TransferView view = transfer->view;
  view.done = transfer->Done();
  view.elapsedMs = NowMs() - view.startedMs;
  view.over = true;
  view.ok = ok;
  view.reason = QString::fromStdString(PrintableText(reason));
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
  if (transfers_.erase(transfer->view.id) > 0) {
    const auto count = perAddress_.find(transfer->PeerIp());
    if (count != perAddress_.end() && --count->second == 0) perAddress_.erase(count);
  }
  transfer->deleteLater();
}

}  // namespace tftpd
