#include "terminals/serial_port.h"

#include <QSerialPort>
#include <algorithm>
#include <cstring>
#include <utility>

namespace torvek {

CSerialPort::CSerialPort() = default;
CSerialPort::~CSerialPort() { Close(); }

int CSerialPort::Open(std::uint32_t port, std::uint32_t baud, std::uint32_t dataBits,
                      std::uint32_t /*parity*/, std::uint32_t /*stopBits*/,
                      const QString& programDir, QStringList& failures) {
  Close();
  // A damaged settings file opens what the setup dialog shows for it: a port
  // row outside COM1-COM99 opens COM1, as other rows fall back to theirs.
  port = PortRowInRange(port);
  const QString name = QString::fromStdString(PortName(port));
  const auto device = SerialDevicePath(port, programDir.toStdString());
  openResult = 0;
  auto serial = std::make_unique<QSerialPort>();
  if (device) serial->setPortName(QString::fromStdString(*device));
  if (!device || !serial->open(QIODevice::ReadWrite)) {
    failures << name << " com port  initial error";
  } else {
    // Parity and stop bits are stored, but the line is always brought up with
    // no parity and one stop bit; only the baud rate and data bits act.
    bool set = serial->setBaudRate(static_cast<qint32>(BaudOfRow(baud)));
    set = serial->setDataBits(static_cast<QSerialPort::DataBits>(DataBitsOfRow(dataBits))) && set;
    set = serial->setParity(QSerialPort::NoParity) && set;
    set = serial->setStopBits(QSerialPort::OneStop) && set;
    set = serial->setFlowControl(QSerialPort::NoFlowControl) && set;
    if (!set) failures << "Error 2" << QString();
    // Held off; a pseudo-terminal has no such lines, which is no failure.
    serial->setDataTerminalReady(false);
    serial->setRequestToSend(false);
    // What came in while nobody had the port open is not this session's.
    serial->clear(QSerialPort::Input);
    serial->clearError();
    port_ = std::move(serial);
    openResult = 1;
  }
  if (!openResult) failures << QString::asprintf("Open Fail:Com%u ", port + 1u) << QString();
  return openResult;
}

int CSerialPort::Close() {
  if (!port_) return 0;
  openResult = 0;
  port_->flush();
  port_->close();
  port_.reset();
  return 1;
}

QByteArray CSerialPort::ReadText(int maxBytes) {
  if (!port_) return {};
  return port_->read(std::min<qint64>(maxBytes, static_cast<qint64>(kBulkReadMax)));
}

qint64 CSerialPort::WriteBytes(const char* buffer, qint64 length) {
  if (!port_) return 0;
  if (length == 0) length = static_cast<qint64>(std::strlen(buffer));
  const qint64 written = port_->write(buffer, length);
  port_->flush();
  return std::max<qint64>(written, 0);
}

int SerialReader::Open(const SerialConfig& config, const QString& programDir,
                       QStringList& failures) {
  const int result = port_.Open(config.port, config.baud, config.dataBits, config.parity,
                                config.stopBits, programDir, failures);
  if (result) connect(port_.device(), &QSerialPort::readyRead, this, &SerialReader::OnReadyRead);
  return result;
}

void SerialReader::Close() { port_.Close(); }

void SerialReader::Post(std::function<void()> job, bool wait) {
  std::uint64_t ticket = 0;
  {
    std::lock_guard lock(postLock_);
    posted_.push_back(std::move(job));
    ticket = ++jobsPosted_;
  }
  // The wait is ours, not a blocking queued call: Qt's semaphore would hide
  // from the sanitizer that the reader is done with the caller's stack.
  QMetaObject::invokeMethod(this, &SerialReader::RunPosted, Qt::QueuedConnection);
  if (!wait) return;
  std::unique_lock lock(postLock_);
  jobsRan_.wait(lock, [&] { return jobsRun_ >= ticket; });
}

void SerialReader::RunPosted() {
  std::deque<std::function<void()>> jobs;
  {
    std::lock_guard lock(postLock_);
    jobs.swap(posted_);
  }
  for (const std::function<void()>& job : jobs) job();
  {
    std::lock_guard lock(postLock_);
    jobsRun_ += jobs.size();
  }
  jobsRan_.notify_all();
}

void SerialReader::Write(const QByteArray& bytes) {
  if (!bytes.isEmpty()) port_.WriteBytes(bytes.constData(), bytes.size());
}

QList<SerialText> SerialReader::TakeTexts() {
  // Cleared first: what comes in behind the take is told again.
  told_ = false;
  std::lock_guard lock(queueLock_);
  return std::exchange(queue_, {});
}

void SerialReader::OnReadyRead() {
  QList<SerialText> texts;
  const std::int64_t now = tick_();
  const TextSink deliver = [&](std::string_view text) {
    texts.append({QByteArray(text.data(), static_cast<qsizetype>(text.size())), now});
  };
  // The flag is read for every read, so a change of mode acts at once.
  while (port_.device() && port_.device()->bytesAvailable() > 0) {
    const QByteArray bytes = port_.ReadText(static_cast<int>(kBulkReadMax));
    if (bytes.isEmpty()) break;
    const auto* data = reinterpret_cast<const std::uint8_t*>(bytes.constData());
    if (upgradeActive_.load())
      chunker_.Feed(data, static_cast<std::size_t>(bytes.size()), deliver);
    else
      FeedBulk(data, static_cast<std::size_t>(bytes.size()), deliver);
  }
  if (texts.isEmpty()) return;
  {
    std::lock_guard lock(queueLock_);
    queue_.append(std::move(texts));
  }
  if (!told_.exchange(true)) emit TextsReady();
}

}  // namespace torvek
