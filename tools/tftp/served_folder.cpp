#include "served_folder.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <random>

#include "tftp_names.h"
#include "tftp_packet.h"

namespace tftpd {
namespace {

using torvek::tftp::kAccessViolation;
using torvek::tftp::kFileNotFound;
using torvek::tftp::kNotDefined;

OpenResult Refuse(std::uint16_t code, const std::string& why) {
  return OpenResult{false, true, code, why};
}

OpenResult FromErrno(int error) {
  switch (error) {
    case ENOENT:
    case ENOTDIR: return OpenResult{false, false, kFileNotFound, "File not found"};
    case EACCES:
    case EPERM: return OpenResult{false, false, kAccessViolation, "Access violation"};
    case EXDEV:
    case ELOOP: return Refuse(kAccessViolation, "link leads out of the folder");
    default: return OpenResult{false, false, kNotDefined, std::strerror(error)};
  }
}

}  // namespace

Upload::~Upload() { Discard(); }

bool Upload::Write(const std::uint8_t* data, std::size_t length, std::string& why) {
  while (length > 0) {
    const ssize_t written = ::write(file_, data, length);
    if (written < 0) {
      if (errno == EINTR) continue;
      why = errno == ENOSPC ? "Disk full or allocation exceeded" : std::strerror(errno);
      return false;
    }
    data += written;
    length -= static_cast<std::size_t>(written);
  }
  return true;
}

bool Upload::Commit(std::string& why) {
  if (::fsync(file_) != 0 || ::close(file_) != 0) {
    why = std::strerror(errno);
    file_ = -1;
    Discard();
    return false;
  }
  file_ = -1;
  if (::renameat(directory_, tempName_.c_str(), directory_, finalName_.c_str()) != 0) {
    why = std::strerror(errno);
    Discard();
    return false;
  }
  ::fsync(directory_);
  ::close(directory_);
  directory_ = -1;
  return true;
}

void Upload::Discard() {
  if (file_ >= 0) ::close(file_);
  file_ = -1;
  if (directory_ >= 0) {
    ::unlinkat(directory_, tempName_.c_str(), 0);
    ::close(directory_);
  }
  directory_ = -1;
}

ServedFolder::~ServedFolder() {
  if (root_ >= 0) ::close(root_);
}

bool ServedFolder::Open(const std::string& path, std::string& why) {
  const int root = ::open(path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
  if (root < 0) {
    why = std::strerror(errno);
    return false;
  }
  if (root_ >= 0) ::close(root_);
  root_ = root;
  path_ = path;
  return true;
}

int ServedFolder::OpenBeneath(const std::string& relative, int flags, int& error) const {
  open_how how{};
  how.flags = static_cast<std::uint64_t>(flags | O_CLOEXEC);
  how.resolve = RESOLVE_BENEATH | RESOLVE_NO_MAGICLINKS;
  int fd = static_cast<int>(::syscall(SYS_openat2, root_, relative.c_str(), &how, sizeof how));
  if (fd >= 0 || errno != ENOSYS) {
    error = fd < 0 ? errno : 0;
    return fd;
  }
  // A kernel without openat2: open, then look where the descriptor really
  // points before anything is read from it.
  fd = ::openat(root_, relative.c_str(), flags | O_CLOEXEC);
  if (fd < 0) {
    error = errno;
    return fd;
  }
  const std::string self = "/proc/self/fd/" + std::to_string(fd);
  if (!torvek::tftp::IsInsideFolder(path_, self)) {
    ::close(fd);
    error = EXDEV;
    return -1;
  }
  error = 0;
  return fd;
}

OpenResult ServedFolder::OpenForRead(const std::string& relative, int& fd,
                                     std::uint64_t& size) const {
  int error = 0;
  // Non-blocking, so that a FIFO cannot hold the server up while it opens.
  fd = OpenBeneath(relative, O_RDONLY | O_NONBLOCK | O_NOCTTY, error);
  if (fd < 0) return FromErrno(error);
  struct stat status {};
  if (::fstat(fd, &status) != 0 || !S_ISREG(status.st_mode)) {
    ::close(fd);
    fd = -1;
    return Refuse(kAccessViolation, "not a regular file");
  }
  size = static_cast<std::uint64_t>(status.st_size);
  return OpenResult{true, false, 0, ""};
}

OpenResult ServedFolder::CreateUpload(const std::string& relative, Upload& upload) const {
  const auto slash = relative.rfind('/');
  const std::string folder = slash == std::string::npos ? "." : relative.substr(0, slash);
  const std::string name = slash == std::string::npos ? relative : relative.substr(slash + 1);
  int error = 0;
  const int directory = OpenBeneath(folder, O_RDONLY | O_DIRECTORY, error);
  if (directory < 0) return FromErrno(error);
  struct stat status {};
  if (::fstatat(directory, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
      !S_ISREG(status.st_mode)) {
    ::close(directory);
    return Refuse(kAccessViolation, "not a regular file");
  }
  std::random_device random;
  for (int attempt = 0; attempt < 16; ++attempt) {
    const std::string temp = "." + name + ".part-" + std::to_string(random() % 1000000);
    const int file = ::openat(directory, temp.c_str(),
                              O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0644);
    if (file >= 0) {
      upload.Discard();
      upload.directory_ = directory;
      upload.file_ = file;
      upload.tempName_ = temp;
      upload.finalName_ = name;
      return OpenResult{true, false, 0, ""};
    }
    if (errno != EEXIST) {
      const int failure = errno;
      ::close(directory);
      return FromErrno(failure);
    }
  }
  ::close(directory);
  return OpenResult{false, false, kNotDefined, "no temporary name free"};
}

}  // namespace tftpd
