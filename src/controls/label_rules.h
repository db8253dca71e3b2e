// The decisions of the status label that need no window: how its static
// style lays out the text, its flash phases, what the background shows in
// each phase, and what a click does.
#pragma once

#include <string>
#include <string_view>

#include "controls/cell_table.h"

namespace torvek {

// The label's style word, in the bits of a static control.
namespace static_style {
inline constexpr unsigned kLeft = 0x0;
inline constexpr unsigned kCenter = 0x1;
inline constexpr unsigned kRight = 0x2;
inline constexpr unsigned kLeftNoWordWrap = 0xC;
inline constexpr unsigned kTypeMask = 0x1F;
inline constexpr unsigned kNotify = 0x100;
inline constexpr unsigned kCenterImage = 0x200;
}  // namespace static_style

// The notification code a label sends its parent for a click.
inline constexpr unsigned kLabelClickCode = 0x8200;

enum class HorizontalAlign { kLeft, kCenter, kRight };

struct TextFormat {
  HorizontalAlign align = HorizontalAlign::kLeft;
  bool wordBreak = false;
  bool expandTabs = false;
  bool verticalCenter = false;  // only together with singleLine
  bool singleLine = false;

  bool operator==(const TextFormat&) const = default;
};

// Centred and right text wrap, left-no-wrap does not, any other type wraps on
// the left. A tab asks for tab expansion. Centre-image overrides all of it:
// centred, and with no "\r\n" in the text also one vertically centred line.
TextFormat StaticTextFormat(unsigned style, std::string_view text);

// What flashes.
enum class FlashType { kNone = 0, kText = 1, kBackground = 2 };

// The flash phases behind FlashText and FlashBackground. Starting puts the
// label in its hidden phase at once; each tick of the 500 ms timer inverts it.
struct LabelFlash {
  static constexpr int kIntervalMs = 500;

  bool state = false;  // false: the hidden / alternate phase while flashing
  bool timerOn = false;
  FlashType type = FlashType::kNone;

  // Either call with `on` false stops the timer and ends all flashing, so
  // that nothing is left frozen in its alternate phase.
  void Set(FlashType what, bool on);
  void Tick() { state = !state; }

  bool TextHidden() const { return type == FlashType::kText && !state; }
  bool BackgroundAlternate() const { return type == FlashType::kBackground && !state; }
};

// The background one paint lays down.
struct LabelBackground {
  bool gradient = false;
  Color first = 0;   // the solid colour, or the left end
  Color second = 0;  // the right end of a gradient
};

// `mode` 0 is solid: the colour set by SetBkColor, or the button face when
// none was set. Any other mode is the gradient from `first` to `second`.
// In the alternate phase of a flashing background a gradient swaps its ends;
// a solid colour gives way to the button face, or the button face to the
// shadow colour when the two are the same.
LabelBackground ChooseBackground(int mode, Color first, Color second, bool hasBrush, Color brush,
                                 Color buttonFace, Color shadow, bool alternatePhase);

enum class ClickKind { kDefault, kNotifyParent, kOpenLocation, kMail };

struct ClickAction {
  ClickKind kind = ClickKind::kDefault;
  std::string target;

  bool operator==(const ClickAction&) const = default;
};

enum class LinkType { kNone = 0, kWeb = 1, kMail = 2 };

// A click tells the parent when asked to; otherwise a web link opens its
// location (the label's text when no location was set) and a mail link
// writes to the address in the text. Empty targets open nothing.
ClickAction DecideClick(bool notifyParent, LinkType link, std::string_view url,
                        std::string_view text);

}  // namespace torvek
