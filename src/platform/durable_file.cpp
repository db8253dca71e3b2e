#include "platform/durable_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <cerrno>

namespace torvek {

namespace {

bool WriteAll(int fd, const QByteArray& content) {
  const char* at = content.constData();
  qsizetype left = content.size();
  while (left > 0) {
    const ssize_t n = ::write(fd, at, static_cast<size_t>(left));
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    at += n;
    left -= n;
  }
  return true;
}

// A rename or an unlink is on the disk only once its folder is.
void SyncFolderOf(const QString& path) {
  const QByteArray folder = QFile::encodeName(QFileInfo(path).absolutePath());
  const int fd = ::open(folder.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return;
  ::fsync(fd);
  ::close(fd);
}

}  // namespace

bool WriteFileDurably(const QString& path, const QByteArray& content) {
  const QByteArray target = QFile::encodeName(path);
  const QByteArray aside = target + ".new";
  const int fd = ::open(aside.constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  if (fd < 0) return false;
  const bool written = WriteAll(fd, content) && ::fsync(fd) == 0;
  const bool closed = ::close(fd) == 0;
  if (!written || !closed || ::rename(aside.constData(), target.constData()) != 0) {
    ::unlink(aside.constData());
    return false;
  }
  SyncFolderOf(path);
  return true;
}

bool RemoveFileDurably(const QString& path) {
  const QByteArray target = QFile::encodeName(path);
  if (::unlink(target.constData()) != 0) return errno == ENOENT;
  SyncFolderOf(path);
  return true;
}

}  // namespace torvek
