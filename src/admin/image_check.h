// Whether a file can be an image of the chosen kind for the chosen model: by
// its size and a fixed signature at a fixed place. No checksum.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace torvek {

enum ImageOperation { kOpFirmware = 0, kOpConfiguration = 1, kOpLogo = 2 };

inline constexpr std::size_t kImageHeadLength = 9216;
inline constexpr std::uintmax_t kConfigImageSize = 65536;
inline constexpr std::uintmax_t kLogoImageLimit = 10240;

// The boxes that refuse an image, in order; empty when it passes. head holds
// the file's first bytes (zero beyond what the file gave); size is nothing
// when the file could not be measured.
std::vector<std::string> ImageRefusal(int model, int operation,
                                      const std::vector<std::uint8_t>& head,
                                      std::optional<std::uintmax_t> size);

// Reads the head and the size of path and judges them. The file is opened for
// update as well: one that cannot be written to reads as all zero.
std::vector<std::string> CheckImagePath(int model, int operation, const std::string& path);

}  // namespace torvek
