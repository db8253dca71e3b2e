#include "controls/label_rules.h"

namespace torvek {

TextFormat StaticTextFormat(unsigned style, std::string_view text) {
  TextFormat format;
  switch (style & static_style::kTypeMask) {
    case static_style::kCenter:
      format.align = HorizontalAlign::kCenter;
      format.wordBreak = true;
      break;
    case static_style::kRight:
      format.align = HorizontalAlign::kRight;
      format.wordBreak = true;
      break;
    case static_style::kLeftNoWordWrap: break;
    default: format.wordBreak = true;
  }
  if (text.find('\t') != std::string_view::npos) format.expandTabs = true;
  if (style & static_style::kCenterImage) {
    format = TextFormat{};
    format.align = HorizontalAlign::kCenter;
    if (text.find("\r\n") == std::string_view::npos) {
      format.verticalCenter = true;
      format.singleLine = true;
    }
  }
  return format;
}

void LabelFlash::Set(FlashType what, bool on) {
  timerOn = false;
  if (!on) {
    type = FlashType::kNone;
    return;
  }
  state = false;
  timerOn = true;
  type = what;
}

LabelBackground ChooseBackground(int mode, Color first, Color second, bool hasBrush, Color brush,
                                 Color buttonFace, Color shadow, bool alternatePhase) {
  LabelBackground out;
  if (mode != 0) {
    out.gradient = true;
    out.first = alternatePhase ? second : first;
    out.second = alternatePhase ? first : second;
    return out;
  }
  out.first = hasBrush ? brush : buttonFace;
  if (alternatePhase) out.first = out.first == buttonFace ? shadow : buttonFace;
  return out;
}

ClickAction DecideClick(bool notifyParent, LinkType link, std::string_view url,
                        std::string_view text) {
  if (notifyParent) return {ClickKind::kNotifyParent, {}};
  switch (link) {
    case LinkType::kWeb: {
      const std::string_view target = url.empty() ? text : url;
      if (target.empty()) break;
      return {ClickKind::kOpenLocation, std::string(target)};
    }
    case LinkType::kMail:
      if (text.empty()) break;
      return {ClickKind::kMail, "mailto:" + std::string(text)};
    case LinkType::kNone: break;
  }
  return {};
}

}  // namespace torvek
