// The folder torvek-tftp serves, and the only way in or out of it: files
// are opened beneath the folder's descriptor, so that no name and no link
// can reach a file outside it, and only regular files are ever read.
#pragma once

#include <cstdint>
#include <random>
#include <string>

namespace tftpd {

// The outcome of opening: an error code and text for the client's error
// packet, and whether the request was refused for leaving the folder or
// naming something that is not a file (those show in the log as attempts).
struct OpenResult {
  bool ok = false;
  bool refused = false;
  std::uint16_t code = 0;
  std::string why;
};

// A file being received: written into a file without a name (or, where the
// file system has none, under a name no request may use), and put in place
// by one rename only when the transfer ends well.
class Upload {
 public:
  Upload() = default;
  Upload(const Upload&) = delete;
  Upload& operator=(const Upload&) = delete;
  ~Upload();

  bool Write(const std::uint8_t* data, std::size_t length, std::string& why);
  bool Commit(std::string& why);
  void Discard();

 private:
  friend class ServedFolder;
  static std::string TempName(std::random_device& random);
  int directory_ = -1;
  int file_ = -1;
  std::string tempName_;  // empty while the file has no name
  std::string finalName_;
};

class ServedFolder {
 public:
  ServedFolder() = default;
  ServedFolder(const ServedFolder&) = delete;
  ServedFolder& operator=(const ServedFolder&) = delete;
  ~ServedFolder();

  bool Open(const std::string& path, std::string& why);
  const std::string& Path() const { return path_; }

  // `relative` as CheckRequestName made it. On success `fd` is a descriptor
  // of a regular file, opened for reading, and `size` its size.
  OpenResult OpenForRead(const std::string& relative, int& fd, std::uint64_t& size) const;
  OpenResult CreateUpload(const std::string& relative, Upload& upload) const;

 private:
  int OpenBeneath(const std::string& relative, int flags, int& error) const;

  std::string path_;
  int root_ = -1;
};

}  // namespace tftpd
