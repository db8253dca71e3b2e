// Two pseudo-terminals joined by socat: `end` for the tool (a COMn link in its
// program folder), `peer` for the test, which reads and writes it raw, or for
// a simulator that opens it itself.
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <QDeadlineTimer>
#include <QFileInfo>
#include <QThread>

#include "child_process.h"

namespace torvek::test {

class PtyPair {
 public:
  PtyPair(const QString& endPath, const QString& peerPath)
      : endPath_(endPath), peerPath_(peerPath) {}
  ~PtyPair() {
    if (fd_ >= 0) ::close(fd_);
    socat_.Stop();  // socat removes its links on the way out
  }

  // Joins the two ends and leaves `peer` to whoever opens it.
  bool Link() {
    if (!socat_.Start("socat",
                      {"pty,raw,echo=0,link=" + endPath_, "pty,raw,echo=0,link=" + peerPath_}))
      return false;
    QDeadlineTimer deadline(5000);
    while (!(QFileInfo::exists(endPath_) && QFileInfo::exists(peerPath_))) {
      if (deadline.hasExpired()) return false;
      QThread::msleep(10);
    }
    return true;
  }

  // Joins them and opens `peer` here; a blocking peer suits a thread that
  // polls before it reads and must not spin on a full line.
  bool Start(bool blocking = false) {
    if (!Link()) return false;
    fd_ = ::open(peerPath_.toLocal8Bit().constData(),
                 O_RDWR | O_NOCTTY | (blocking ? 0 : O_NONBLOCK));
    return fd_ >= 0;
  }

  void Write(const QByteArray& bytes) {
    for (qsizetype done = 0; done < bytes.size();) {
      const ssize_t n =
          ::write(fd_, bytes.constData() + done, static_cast<size_t>(bytes.size() - done));
      if (n > 0)
        done += n;
      else
        QThread::msleep(1);
    }
  }

  // One attempt, never waiting: the bytes that went, 0 when the line is full.
  qsizetype TryWrite(const QByteArray& bytes) {
    const ssize_t n = ::write(fd_, bytes.constData(), static_cast<size_t>(bytes.size()));
    return n > 0 ? n : 0;
  }

  // What the peer has received so far.
  QByteArray Read() {
    QByteArray out;
    char buffer[4096];
    for (ssize_t n; (n = ::read(fd_, buffer, sizeof buffer)) > 0;) out.append(buffer, n);
    return out;
  }

  const QString& endPath() const { return endPath_; }
  const QString& peerPath() const { return peerPath_; }
  int fd() const { return fd_; }

 private:
  QString endPath_;
  QString peerPath_;
  ChildProcess socat_;
  int fd_ = -1;
};

}  // namespace torvek::test
