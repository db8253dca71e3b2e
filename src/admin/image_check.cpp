#include "admin/image_check.h"

#include <cstdio>
#include <cstring>
#include <filesystem>

#include "core/management_frame.h"

namespace torvek {

namespace {

bool HasAt(const std::vector<std::uint8_t>& head, std::size_t offset, const char* signature) {
  const std::size_t n = std::strlen(signature);
  return offset + n <= head.size() && std::memcmp(head.data() + offset, signature, n) == 0;
}

}  // namespace

std::vector<std::string> ImageRefusal(int model, int operation,
                                      const std::vector<std::uint8_t>& head,
                                      std::optional<std::uintmax_t> size) {
  switch (operation) {
    case kOpFirmware:
      if (model == kModel730 && !HasAt(head, 0, "KERN"))
        return {"Error:Invalid module(730) firmware file format"};
      if (model == kModel740 && !HasAt(head, 32, "Linu"))
        return {"Error:Invalid module(740) firmware file format"};
      return {};
    case kOpConfiguration:
      // A size that cannot be read is no 64K image either.
      if (size != kConfigImageSize) return {"Error: config file is not 64K(65536) size"};
      if (model == kModel730 && !HasAt(head, 0, "DW00"))
        return {"Error:Invalid module(730) config file format"};
      if (model == kModel740 && !HasAt(head, 0x2004, "Web"))
        return {"Error:Invalid module(740) config file format"};
      return {};
    case kOpLogo:
      if (!size || *size > kLogoImageLimit)
        return {"Error: logo file is too big !!! (less than 10K bytes)"};
      if (!HasAt(head, 0, "GIF"))
        return {" Invalid logo file", "Error:Invalid module logo file format"};
      return {};
    default: return {" Invalid File selection"};
  }
}

std::vector<std::string> CheckImagePath(int model, int operation, const std::string& path) {
  std::vector<std::uint8_t> head(kImageHeadLength, 0);
  if (std::FILE* file = std::fopen(path.c_str(), "r+b")) {
    const std::size_t got = std::fread(head.data(), 1, head.size(), file);
    (void)got;  // a short file leaves zeros behind
    std::fclose(file);
  }
  std::error_code error;
  const std::uintmax_t size = std::filesystem::file_size(path, error);
  return ImageRefusal(model, operation, head, error ? std::nullopt : std::optional(size));
}

}  // namespace torvek
