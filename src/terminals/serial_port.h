// The tool's one serial line. CSerialPort wraps the device; SerialReader owns
// it on the reader thread, reads when the port reports data (never by polling)
// and carries writes to it in the order the UI thread asked for them.
#pragma once

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QStringList>
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>

#include "terminals/serial_chunker.h"
#include "terminals/serial_config.h"

class QSerialPort;

namespace torvek {

class CSerialPort {
 public:
  CSerialPort();
  ~CSerialPort();
  CSerialPort(const CSerialPort&) = delete;
  CSerialPort& operator=(const CSerialPort&) = delete;

  // Rows as in SerialConfig; 1 or 0. The boxes a failure calls for are added
  // to `failures` as text and title pairs, in order, for the UI thread to show.
  // The line always comes up with no parity, one stop bit and no flow control,
  // DTR and RTS off.
  int Open(std::uint32_t port, std::uint32_t baud, std::uint32_t dataBits, std::uint32_t parity,
           std::uint32_t stopBits, const QString& programDir, QStringList& failures);
  // Non-zero if a port was closed. The object can be opened again.
  int Close();
  // What is there, at most min(maxBytes, 1023) bytes; never waits.
  QByteArray ReadText(int maxBytes);
  qint64 WriteBytes(const char* buffer, qint64 length);

  int openResult = 0;
  QSerialPort* device() const { return port_.get(); }

 private:
  std::unique_ptr<QSerialPort> port_;
};

// One text off the line and the tick at which it was read.
struct SerialText {
  QByteArray text;
  std::int64_t tick = 0;
};

// Lives on the reader thread. Received texts wait in a queue that the UI
// thread empties with TakeTexts; TextsReady is emitted once until the next
// TakeTexts, so a fast line costs the UI thread one wake-up per batch, not
// one per read.
class SerialReader : public QObject {
  Q_OBJECT
 public:
  SerialReader(const std::atomic<int>& upgradeActive, std::function<std::int64_t()> tick)
      : upgradeActive_(upgradeActive), tick_(std::move(tick)) {}

  // Any thread: runs `job` on the reader's thread after the jobs posted
  // before it; with `wait`, returns once it has run. What a job reads and
  // writes is handed over under a standard lock, so the thread sanitizer sees
  // the order that Qt's event queue keeps.
  void Post(std::function<void()> job, bool wait);

  // Run on the reader thread, in posted jobs.
  int Open(const SerialConfig& config, const QString& programDir, QStringList& failures);
  void Close();
  void Write(const QByteArray& bytes);

  // Any thread: everything read since the last call, in order.
  QList<SerialText> TakeTexts();

 signals:
  void TextsReady();

 private:
  void OnReadyRead();
  void RunPosted();

  const std::atomic<int>& upgradeActive_;
  std::function<std::int64_t()> tick_;
  CSerialPort port_;
  // Survives a change of mode: an unfinished chunk waits for its next bytes.
  SerialChunker chunker_;
  std::mutex queueLock_;
  QList<SerialText> queue_;
  std::mutex postLock_;
  std::condition_variable jobsRan_;
  std::deque<std::function<void()>> posted_;  // under postLock_
  std::uint64_t jobsPosted_ = 0;              // under postLock_
  std::uint64_t jobsRun_ = 0;                 // under postLock_
  std::atomic<bool> told_{false};
};

}  // namespace torvek
