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
  if (::fsync(file_) != 0) {
    why = std::strerror(errno);
    Discard();
    return false;
  }
  if (tempName_.empty()) {
    // The file has no name yet: it gets one of the upload names, which no
    // request may use, and from there the rename below puts it in place.
    const std::string self = "/proc/self/fd/" + std::to_string(file_);
    std::random_device random;
    for (int attempt = 0; attempt < 16 && tempName_.empty(); ++attempt) {
      const std::string temp = TempName(random);
      if (::linkat(AT_FDCWD, self.c_str(), directory_, temp.c_str(), AT_SYMLINK_FOLLOW) == 0)
        tempName_ = temp;
      else if (errno != EEXIST)
        break;
    }
    if (tempName_.empty()) {
      why = std::strerror(errno);
      Discard();
      return false;
    }
  }
  if (::close(file_) != 0) {
    file_ = -1;
    why = std::strerror(errno);
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
  tempName_.clear();
  return true;
}

void Upload::Discard() {
  if (file_ >= 0) ::close(file_);
  file_ = -1;
  if (directory_ >= 0) {
    if (!tempName_.empty()) ::unlinkat(directory_, tempName_.c_str(), 0);
    ::close(directory_);
  }
  directory_ = -1;
  tempName_.clear();
}

std::string Upload::TempName(std::random_device& random) {
  return std::string(torvek::tftp::kUploadPrefix) + std::to_string(random() % 100000000);
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
  // First a descriptor that only names the file: opening a device or a FIFO
  // may do something of its own, so only a regular file is opened for real.
  const int path = OpenBeneath(relative, O_PATH, error);
  if (path < 0) return FromErrno(error);
  struct stat status {};
  if (::fstat(path, &status) != 0 || !S_ISREG(status.st_mode)) {
    ::close(path);
    fd = -1;
    return Refuse(kAccessViolation, "not a regular file");
  }
  const std::string self = "/proc/self/fd/" + std::to_string(path);
  fd = ::open(self.c_str(), O_RDONLY | O_NOCTTY | O_CLOEXEC);
  error = errno;
  ::close(path);
  if (fd < 0) return FromErrno(error);
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
  upload.Discard();
  // The upload is written into a file without a name, which no client can
  // read or replace while it grows; it is named only once whole.
  int file = ::openat(directory, ".", O_TMPFILE | O_WRONLY | O_CLOEXEC, 0644);
  if (file >= 0) {
    upload.directory_ = directory;
    upload.file_ = file;
    upload.finalName_ = name;
    return OpenResult{true, false, 0, ""};
  }
  // A file system without such files: a name no request may use.
  std::random_device random;
  for (int attempt = 0; attempt < 16; ++attempt) {
    const std::string temp = Upload::TempName(random);
    file = ::openat(directory, temp.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                    0644);
    if (file >= 0) {
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
