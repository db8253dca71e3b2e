// The self-drawing status label: its own text colour and font, a solid or
// gradient background, flashing, 3D and rotated text, and link clicks.
// Colours are 0x00BBGGRR, as in the report lists. Every setter gives the
// label back, so calls chain; most redraw the label and its place in the
// parent at once.
//
// The text is laid out by the label's style word (static_style::*, property
// `staticStyle`), not by QLabel's alignment: left with word wrap unless told
// otherwise.
#pragma once

#include <QCursor>
#include <QFont>
#include <QLabel>
#include <QTimer>
#include <optional>

#include "controls/cell_table.h"
#include "controls/label_rules.h"

namespace torvek {

class ProgramLauncher;

class CStatusLabel : public QLabel {
  Q_OBJECT
  Q_PROPERTY(uint staticStyle READ StaticStyle WRITE SetStaticStyle)

 public:
  explicit CStatusLabel(QWidget* parent = nullptr);

  // mode 0: solid `first`; any other: gradient from `first` (left) to `second`.
  CStatusLabel& SetBkColor(Color first, Color second = 0, int mode = 0);
  CStatusLabel& SetTextColor(Color color);
  // Redraws only when the label is visible.
  CStatusLabel& SetText(const QString& text);
  CStatusLabel& SetFontBold(bool on);
  // The face name keeps at most 31 characters. The character set is kept
  // with the font; the face's own coverage decides what is drawn.
  CStatusLabel& SetFontName(const QString& name, int charset = 0);
  CStatusLabel& SetFontUnderline(bool on);
  CStatusLabel& SetFontItalic(bool on);
  // Sizes of 0 and less are ignored.
  CStatusLabel& SetFontSize(int points);
  // Sunken edge and border: not redrawn here, as with the style bits.
  CStatusLabel& SetSunken(bool on);
  CStatusLabel& SetBorder(bool on);
  // A transparent label lays no background and draws straight onto itself.
  CStatusLabel& SetTransparent(bool on);
  CStatusLabel& FlashText(bool on);
  // The background alternates every 500 ms: a gradient swaps its ends, a
  // solid colour gives way to the button face (the button face to the shadow).
  CStatusLabel& FlashBackground(bool on);
  // With `notify` a click emits Notified; otherwise it opens the link.
  CStatusLabel& SetLink(bool on, bool notify);
  CStatusLabel& SetLinkCursor(std::optional<QCursor> cursor);
  // type 0: the highlight copy one pixel up and left; else down and right.
  CStatusLabel& SetText3D(bool on, int type = 0);
  // The text turns about the control's centre, counter-clockwise.
  CStatusLabel& SetRotationAngle(int degrees, bool on);
  CStatusLabel& SetText3DHiliteColor(Color color);
  // Replaces the whole font description; its escapement in tenths of a degree.
  CStatusLabel& SetLogFont(const QFont& description, int escapement = 0);
  CStatusLabel& SetMailLink(bool on, bool notify);
  CStatusLabel& SetLinkUrl(const QString& url);

  // Where link clicks open; the system's launcher when none was given.
  void SetLauncher(ProgramLauncher* launcher) { launcher_ = launcher; }

  unsigned StaticStyle() const { return staticStyle_; }
  void SetStaticStyle(unsigned style);
  int FontCharset() const { return charset_; }
  bool Flashing() const { return flashTimer_.isActive(); }

  // Redraw now, with the label's place in the parent.
  void Refresh();

 signals:
  // A click while the parent is to be told: the control's id and the code
  // kLabelClickCode.
  void Notified(int controlId, unsigned code);

 protected:
  void paintEvent(QPaintEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void changeEvent(QEvent* event) override;

 private:
  void ApplyFrame();
  void OnFlashTimer();
  void PaintContents(QPainter& painter, const QRect& area);

  Color textColor_;
  Color hiliteColor_ = 0xFFFFFF;
  Color defaultBrush_;  // the button face
  Color shadow_;
  std::optional<Color> bkBrush_;
  int charset_ = 0;
  int escapement_ = 0;  // tenths of a degree
  LabelFlash flash_;
  QTimer flashTimer_;
  LinkType linkType_ = LinkType::kNone;
  QString linkUrl_;
  bool notifyParent_ = true;
  std::optional<QCursor> linkCursor_;
  bool transparent_ = false;
  bool text3D_ = false;
  int text3DType_ = 0;
  bool rotated_ = false;
  int backFillMode_ = 0;
  Color bkColor1_ = 0;
  Color bkColor2_ = 0;
  bool sunken_ = false;
  bool border_ = false;
  unsigned staticStyle_ = static_style::kLeft;
  ProgramLauncher* launcher_ = nullptr;
};

}  // namespace torvek
