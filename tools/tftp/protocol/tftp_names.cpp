#include "tftp_names.h"

#include <filesystem>
#include <system_error>

namespace torvek::tftp {

bool CheckRequestName(const std::string& name, std::string& relative, std::string& why) {
  relative.clear();
  if (name.empty()) {
    why = "empty file name";
    return false;
  }
  if (name.size() > 1024) {
    why = "file name too long";
    return false;
  }
  if (name.find('\0') != std::string::npos) {
    why = "NUL inside the file name";
    return false;
  }
  for (unsigned char c : name) {
    if (c < 0x20 || c == 0x7f) {
      why = "control character in the file name";
      return false;
    }
  }
  std::string path = name;
  for (char& c : path)
    if (c == '\\') c = '/';
  if (path.front() == '/') {
    why = "absolute path";
    return false;
  }
  if (path.size() >= 2 && path[1] == ':') {
    why = "drive letter in the file name";
    return false;
  }
  if (path.back() == '/') {
    why = "name of a folder";
    return false;
  }
  std::size_t start = 0;
  while (start <= path.size()) {
    std::size_t end = path.find('/', start);
    if (end == std::string::npos) end = path.size();
    const std::string part = path.substr(start, end - start);
    if (part == "..") {
      why = "\"..\" in the file name";
      return false;
    }
    if (part.compare(0, kUploadPrefix.size(), kUploadPrefix) == 0) {
      why = "name of an upload in progress";
      return false;
    }
    if (!part.empty() && part != ".") {
      if (!relative.empty()) relative += '/';
      relative += part;
    }
    start = end + 1;
  }
  if (relative.empty()) {
    why = "no file in the name";
    return false;
  }
  return true;
}

bool IsInsideFolder(const std::string& folder, const std::string& path) {
  std::error_code error;
  const auto base = std::filesystem::canonical(folder, error);
  if (error) return false;
  const auto target = std::filesystem::canonical(path, error);
  if (error) return false;
  auto baseIt = base.begin();
  auto targetIt = target.begin();
  for (; baseIt != base.end(); ++baseIt, ++targetIt) {
    if (targetIt == target.end() || *baseIt != *targetIt) return false;
  }
  return targetIt != target.end();
}

}  // namespace torvek::tftp
