#include "controls/gradient_bands.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace torvek {

namespace {

int Channel(Color color, int index) { return static_cast<int>((color >> (8 * index)) & 0xFF); }

}  // namespace

std::vector<GradientBand> GradientBands(int left, int width, Color first, Color second, int limit) {
  const int bands = std::min(limit, width);
  if (bands < 1) return {};
  const int bandWidth = width / bands;

  // 8.8 fixed point per channel; steps truncate toward zero, so a falling
  // channel never passes its end.
  std::array<std::int64_t, 3> value{};
  std::array<std::int64_t, 3> step{};
  for (int c = 0; c < 3; ++c) {
    value[c] = static_cast<std::int64_t>(Channel(first, c)) * 256;
    step[c] = static_cast<std::int64_t>(Channel(second, c) - Channel(first, c)) * 256 / bands;
  }

  std::vector<GradientBand> out;
  out.reserve(static_cast<std::size_t>(bands));
  for (int i = 0; i < bands; ++i) {
    GradientBand band;
    band.left = left + i * bandWidth;
    band.right = i == bands - 1 ? left + width : band.left + bandWidth;
    for (int c = 0; c < 3; ++c) band.color |= static_cast<Color>((value[c] >> 8) & 0xFF) << (8 * c);
    out.push_back(band);
    for (int c = 0; c < 3; ++c) value[c] += step[c];
  }
  return out;
}

}  // namespace torvek
