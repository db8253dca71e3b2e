// The status label's logic: gradient bands, text layout by style, flash
// phases, the background of each phase, and what a click does.
#include <gtest/gtest.h>

#include "controls/gradient_bands.h"
#include "controls/label_rules.h"

using namespace torvek;

namespace {

int Red(Color c) { return static_cast<int>(c & 0xFF); }
int Green(Color c) { return static_cast<int>((c >> 8) & 0xFF); }
int Blue(Color c) { return static_cast<int>((c >> 16) & 0xFF); }

}  // namespace

TEST(GradientBands, NarrowControlGetsOneBandPerPixel) {
  // Black to white over 50 px: step 255*256/50 = 1305 in 8.8.
  const auto bands = GradientBands(0, 50, 0x000000, 0xFFFFFF);
  ASSERT_EQ(bands.size(), 50u);
  for (int i = 0; i < 50; ++i) {
    EXPECT_EQ(bands[i].left, i);
    EXPECT_EQ(bands[i].right, i + 1);
    const int expected = i * 1305 >> 8;
    EXPECT_EQ(Red(bands[i].color), expected) << i;
    EXPECT_EQ(Green(bands[i].color), expected) << i;
    EXPECT_EQ(Blue(bands[i].color), expected) << i;
  }
  EXPECT_EQ(Red(bands[1].color), 5);
  // The last band stops one step short of the right colour.
  EXPECT_EQ(bands.back().color, 0xF9F9F9u);
}

TEST(GradientBands, WideControlKeepsTheLimitAndTheLastBandTakesTheRest) {
  // Red falls 255 -> 0 while blue rises 0 -> 200, green stays at 0x40.
  const auto bands = GradientBands(3, 250, 0x0040FF, 0xC84000);
  ASSERT_EQ(bands.size(), 100u);
  EXPECT_EQ(bands[0], (GradientBand{3, 5, 0x0040FF}));
  EXPECT_EQ(bands[98].left, 3 + 98 * 2);
  EXPECT_EQ(bands[98].right, 3 + 99 * 2);
  EXPECT_EQ(bands[99].left, 3 + 99 * 2);
  EXPECT_EQ(bands[99].right, 253);  // 52 px wide: the remainder goes here
  // Falling steps truncate toward zero: -255*256/100 = -652.
  EXPECT_EQ(Red(bands[1].color), (65280 - 652) >> 8);
  EXPECT_EQ(Red(bands[99].color), (65280 - 99 * 652) >> 8);
  EXPECT_EQ(Blue(bands[99].color), 99 * (200 * 256 / 100) >> 8);
  for (const GradientBand& band : bands) EXPECT_EQ(Green(band.color), 0x40);
}

TEST(GradientBands, BandsTileTheWidthAndNeverLeaveTheirEnds) {
  for (int width = 1; width <= 420; ++width) {
    const auto bands = GradientBands(7, width, 0x10F020, 0xF01080);
    ASSERT_EQ(static_cast<int>(bands.size()), std::min(width, 100)) << width;
    EXPECT_EQ(bands.front().left, 7);
    EXPECT_EQ(bands.back().right, 7 + width);
    for (std::size_t i = 0; i < bands.size(); ++i) {
      EXPECT_LT(bands[i].left, bands[i].right);
      if (i > 0) {
        EXPECT_EQ(bands[i].left, bands[i - 1].right);
      }
      EXPECT_GE(Red(bands[i].color), 0x20);
      EXPECT_LE(Red(bands[i].color), 0x80);
      EXPECT_GE(Blue(bands[i].color), 0x10);
      EXPECT_LE(Green(bands[i].color), 0xF0);
      EXPECT_GE(Green(bands[i].color), 0x10);
      EXPECT_LE(Blue(bands[i].color), 0xF0);
    }
  }
}

TEST(GradientBands, FewerThanOneBandDrawsNothing) {
  EXPECT_TRUE(GradientBands(0, 0, 0, 0xFFFFFF).empty());
  EXPECT_TRUE(GradientBands(0, -5, 0, 0xFFFFFF).empty());
  EXPECT_TRUE(GradientBands(0, 80, 0, 0xFFFFFF, 0).empty());
  // A smaller limit widens the bands.
  const auto four = GradientBands(0, 10, 0, 0xFFFFFF, 4);
  ASSERT_EQ(four.size(), 4u);
  EXPECT_EQ(four[2].right, 6);
  EXPECT_EQ(four[3].right, 10);
}

TEST(StaticTextFormat, TheTypeDecidesAlignmentAndWrapping) {
  using namespace static_style;
  EXPECT_EQ(StaticTextFormat(kCenter, "a"), (TextFormat{HorizontalAlign::kCenter, true}));
  EXPECT_EQ(StaticTextFormat(kRight, "a"), (TextFormat{HorizontalAlign::kRight, true}));
  EXPECT_EQ(StaticTextFormat(kLeftNoWordWrap, "a"), TextFormat{});
  EXPECT_EQ(StaticTextFormat(kLeft, "a"), (TextFormat{HorizontalAlign::kLeft, true}));
  EXPECT_EQ(StaticTextFormat(0xB, "a"), (TextFormat{HorizontalAlign::kLeft, true}));
  // The notify bit is no part of the type.
  EXPECT_EQ(StaticTextFormat(kRight | kNotify, "a"), StaticTextFormat(kRight, "a"));
  EXPECT_TRUE(StaticTextFormat(kLeftNoWordWrap, "a\tb").expandTabs);
  EXPECT_FALSE(StaticTextFormat(kLeft, "a b").expandTabs);
}

TEST(StaticTextFormat, CentreImageCentresOneLineBothWaysElseOnlyAcross) {
  using namespace static_style;
  const TextFormat one = StaticTextFormat(kRight | kCenterImage, "a\tb\nc");
  EXPECT_EQ(one, (TextFormat{HorizontalAlign::kCenter, false, false, true, true}));
  const TextFormat two = StaticTextFormat(kCenterImage, "first\r\nsecond");
  EXPECT_EQ(two, (TextFormat{HorizontalAlign::kCenter, false, false, false, false}));
}

TEST(LabelFlash, TextHidesAtOnceAndEachTickInvertsTheMoment) {
  LabelFlash flash;
  EXPECT_FALSE(flash.TextHidden());
  flash.Set(FlashType::kText, true);
  EXPECT_TRUE(flash.timerOn);
  EXPECT_TRUE(flash.TextHidden());
  EXPECT_FALSE(flash.BackgroundAlternate());
  flash.Tick();
  EXPECT_FALSE(flash.TextHidden());
  flash.Tick();
  EXPECT_TRUE(flash.TextHidden());
  // Restarting begins in the hidden phase again.
  flash.Tick();
  flash.Set(FlashType::kText, true);
  EXPECT_TRUE(flash.TextHidden());
  flash.Set(FlashType::kText, false);
  EXPECT_FALSE(flash.timerOn);
  EXPECT_FALSE(flash.TextHidden());
}

TEST(LabelFlash, StoppingEitherFlashLeavesNothingFrozen) {
  LabelFlash flash;
  flash.Set(FlashType::kBackground, true);
  EXPECT_TRUE(flash.BackgroundAlternate());
  EXPECT_FALSE(flash.TextHidden());
  flash.Set(FlashType::kBackground, false);
  EXPECT_FALSE(flash.BackgroundAlternate());
  EXPECT_FALSE(flash.timerOn);

  flash.Set(FlashType::kText, true);
  flash.Set(FlashType::kBackground, false);
  EXPECT_FALSE(flash.TextHidden());
  // Switching what flashes keeps one timer and takes the new type.
  flash.Set(FlashType::kText, true);
  flash.Set(FlashType::kBackground, true);
  EXPECT_TRUE(flash.timerOn);
  EXPECT_EQ(flash.type, FlashType::kBackground);
}

TEST(ChooseBackground, SolidGradientAndTheirFlashPhases) {
  const Color face = 0xF0F0F0, shadow = 0xA0A0A0;
  auto solid = [&](bool hasBrush, Color brush, bool alternate) {
    const LabelBackground b =
        ChooseBackground(0, 0x123456, 0, hasBrush, brush, face, shadow, alternate);
    EXPECT_FALSE(b.gradient);
    return b.first;
  };
  EXPECT_EQ(solid(true, 0xFFFFFF, false), 0xFFFFFFu);
  EXPECT_EQ(solid(false, 0, false), face);
  EXPECT_EQ(solid(true, 0xFFFFFF, true), face);
  EXPECT_EQ(solid(true, face, true), shadow);
  EXPECT_EQ(solid(false, 0, true), shadow);

  for (int mode : {1, 2, -1}) {
    const LabelBackground steady =
        ChooseBackground(mode, 0x0000FF, 0xFF0000, false, 0, face, shadow, false);
    EXPECT_TRUE(steady.gradient);
    EXPECT_EQ(steady.first, 0x0000FFu);
    EXPECT_EQ(steady.second, 0xFF0000u);
  }
  const LabelBackground swapped =
      ChooseBackground(1, 0x0000FF, 0xFF0000, false, 0, face, shadow, true);
  EXPECT_EQ(swapped.first, 0xFF0000u);
  EXPECT_EQ(swapped.second, 0x0000FFu);
}

TEST(DecideClick, ParentFirstThenTheLinkWithItsTarget) {
  EXPECT_EQ(DecideClick(true, LinkType::kWeb, "http://x", "text").kind, ClickKind::kNotifyParent);
  EXPECT_EQ(DecideClick(true, LinkType::kNone, "", "").kind, ClickKind::kNotifyParent);
  EXPECT_EQ(DecideClick(false, LinkType::kWeb, "http://10.0.0.1/", "Home"),
            (ClickAction{ClickKind::kOpenLocation, "http://10.0.0.1/"}));
  EXPECT_EQ(DecideClick(false, LinkType::kWeb, "", "www.example.org"),
            (ClickAction{ClickKind::kOpenLocation, "www.example.org"}));
  EXPECT_EQ(DecideClick(false, LinkType::kMail, "ignored", "lab@example.org"),
            (ClickAction{ClickKind::kMail, "mailto:lab@example.org"}));
  EXPECT_EQ(DecideClick(false, LinkType::kWeb, "", "").kind, ClickKind::kDefault);
  EXPECT_EQ(DecideClick(false, LinkType::kMail, "x", "").kind, ClickKind::kDefault);
  EXPECT_EQ(DecideClick(false, LinkType::kNone, "x", "y").kind, ClickKind::kDefault);
}
