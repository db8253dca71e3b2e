// The banded gradient behind a status label: a row of solid rectangles from
// the left colour towards the right one, as the label's painter fills them.
#pragma once

#include <vector>

#include "controls/cell_table.h"

namespace torvek {

// One band spans [left, right) across the whole height of the rectangle.
struct GradientBand {
  int left = 0;
  int right = 0;
  Color color = 0;

  bool operator==(const GradientBand&) const = default;
};

// The label draws at most this many bands.
inline constexpr int kGradientBandLimit = 100;

// Bands for a rectangle starting at `left`, `width` pixels wide: as many as
// the smaller of `limit` and `width`, each width / bands wide, the last one
// reaching the right edge. Channels step in 8.8 fixed point, so the last band
// stops one step short of `second`. Nothing when there is not one band.
std::vector<GradientBand> GradientBands(int left, int width, Color first, Color second,
                                        int limit = kGradientBandLimit);

}  // namespace torvek
