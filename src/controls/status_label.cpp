#include "controls/status_label.h"

#include <QtWidgets/qdrawutil.h>
#include <QEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPixmap>
#include <QPointer>
#include <QUrl>

#include "controls/gradient_bands.h"
#include "platform/program_launcher.h"

namespace torvek {

namespace {

QColor ToColor(Color color) {
  return QColor(static_cast<int>(color & 0xFF), static_cast<int>((color >> 8) & 0xFF),
                static_cast<int>((color >> 16) & 0xFF));
}

Color FromColor(const QColor& color) {
  return static_cast<Color>(color.red()) | static_cast<Color>(color.green()) << 8 |
         static_cast<Color>(color.blue()) << 16;
}

int QtFlags(const TextFormat& format) {
  int flags = 0;
  switch (format.align) {
    case HorizontalAlign::kLeft: flags |= Qt::AlignLeft; break;
    case HorizontalAlign::kCenter: flags |= Qt::AlignHCenter; break;
    case HorizontalAlign::kRight: flags |= Qt::AlignRight; break;
  }
  flags |= format.verticalCenter ? Qt::AlignVCenter : Qt::AlignTop;
  if (format.wordBreak) flags |= Qt::TextWordWrap;
  if (format.expandTabs) flags |= Qt::TextExpandTabs;
  if (format.singleLine) flags |= Qt::TextSingleLine;
  return flags;
}

ProgramLauncher& SystemLauncherInstance() {
  static SystemLauncher launcher;
  return launcher;
}

}  // namespace

CStatusLabel::CStatusLabel(QWidget* parent)
    : QLabel(parent), textColor_(FromColor(palette().color(QPalette::WindowText))),
      defaultBrush_(FromColor(palette().color(QPalette::Button))),
      shadow_(FromColor(palette().color(QPalette::Mid))) {
  setTextFormat(Qt::PlainText);
  flashTimer_.setInterval(LabelFlash::kIntervalMs);
  connect(&flashTimer_, &QTimer::timeout, this, &CStatusLabel::OnFlashTimer);
}

CStatusLabel& CStatusLabel::SetBkColor(Color first, Color second, int mode) {
  bkColor1_ = first;
  bkColor2_ = second;
  backFillMode_ = mode;
  bkBrush_.reset();
  if (mode == 0) bkBrush_ = first;
  Refresh();
  return *this;
}

CStatusLabel& CStatusLabel::SetTextColor(Color color) {
  textColor_ = color;
  Refresh();
  return *this;
}

CStatusLabel& CStatusLabel::SetText(const QString& text) {
  setText(text);
  if (isVisible()) Refresh();
  return *this;
}

CStatusLabel& CStatusLabel::SetFontBold(bool on) {
  QFont f = font();
  f.setWeight(on ? QFont::Bold : QFont::Normal);
  setFont(f);
  Refresh();
  return *this;
}

CStatusLabel& CStatusLabel::SetFontName(const QString& name, int charset) {
  QFont f = font();
  f.setFamily(name.left(31));
  charset_ = charset;
  setFont(f);
  Refresh();
  return *this;
}

CStatusLabel& CStatusLabel::SetFontUnderline(bool on) {
  QFont f = font();
  f.setUnderline(on);
  setFont(f);
  Refresh();
  return *this;
}

CStatusLabel& CStatusLabel::SetFontItalic(bool on) {
  QFont f = font();
  f.setItalic(on);
  setFont(f);
  Refresh();
  return *this;
}

CStatusLabel& CStatusLabel::SetFontSize(int points) {
  if (points > 0) {
    QFont f = font();
    f.setPointSize(points);
    setFont(f);
  }
  Refresh();
  return *this;
}

CStatusLabel& CStatusLabel::SetSunken(bool on) {
  sunken_ = on;
  ApplyFrame();
  return *this;
}

CStatusLabel& CStatusLabel::SetBorder(bool on) {
  border_ = on;
  ApplyFrame();
  return *this;
}

CStatusLabel& CStatusLabel::SetTransparent(bool on) {
  transparent_ = on;
  Refresh();
  return *this;
}

CStatusLabel& CStatusLabel::FlashText(bool on) {
  flash_.Set(FlashType::kText, on);
  if (flash_.timerOn)
    flashTimer_.start();
  else
    flashTimer_.stop();
  Refresh();
  return *this;
}

CStatusLabel& CStatusLabel::FlashBackground(bool on) {
  flash_.Set(FlashType::kBackground, on);
  if (flash_.timerOn)
    flashTimer_.start();
  else
    flashTimer_.stop();
  Refresh();
  return *this;
}

CStatusLabel& CStatusLabel::SetLink(bool on, bool notify) {
  linkType_ = on ? LinkType::kWeb : LinkType::kNone;
  notifyParent_ = notify;
  if (on)
    staticStyle_ |= static_style::kNotify;
  else
    staticStyle_ &= ~static_style::kNotify;
  return *this;
}

CStatusLabel& CStatusLabel::SetMailLink(bool on, bool notify) {
  SetLink(on, notify);
  linkType_ = on ? LinkType::kMail : LinkType::kNone;
  return *this;
}

CStatusLabel& CStatusLabel::SetLinkCursor(std::optional<QCursor> cursor) {
  linkCursor_ = std::move(cursor);
  if (linkCursor_)
    setCursor(*linkCursor_);
  else
    unsetCursor();
  return *this;
}

CStatusLabel& CStatusLabel::SetText3D(bool on, int type) {
  text3D_ = on;
  text3DType_ = type;
  Refresh();
  return *this;
}

CStatusLabel& CStatusLabel::SetRotationAngle(int degrees, bool on) {
  escapement_ = degrees % 360 * 10;
  rotated_ = on;
  Refresh();
  return *this;
}

CStatusLabel& CStatusLabel::SetText3DHiliteColor(Color color) {
  hiliteColor_ = color;
  Refresh();
  return *this;
}

CStatusLabel& CStatusLabel::SetLogFont(const QFont& description, int escapement) {
  setFont(description);
  escapement_ = escapement % 3600;
  Refresh();
  return *this;
}

CStatusLabel& CStatusLabel::SetLinkUrl(const QString& url) {
  linkUrl_ = url;
  return *this;
}

void CStatusLabel::SetStaticStyle(unsigned style) {
  staticStyle_ = style;
  update();
}

void CStatusLabel::Refresh() {
  if (!isVisible()) return;
  // One synchronous paint of the parent's area repaints the label with it,
  // so that a transparent label never shows its old text.
  if (QWidget* parent = parentWidget())
    parent->repaint(geometry());
  else
    repaint();
}

void CStatusLabel::ApplyFrame() {
  const int edge = (border_ ? 1 : 0) + (sunken_ ? 1 : 0);
  setContentsMargins(edge, edge, edge, edge);
}

void CStatusLabel::OnFlashTimer() {
  flash_.Tick();
  Refresh();
}

void CStatusLabel::changeEvent(QEvent* event) {
  QLabel::changeEvent(event);
  if (event->type() == QEvent::PaletteChange) {
    defaultBrush_ = FromColor(palette().color(QPalette::Button));
    shadow_ = FromColor(palette().color(QPalette::Mid));
    Refresh();
  }
}

void CStatusLabel::paintEvent(QPaintEvent* /*event*/) {
  const QRect area = contentsRect();
  if (transparent_) {
    QPainter painter(this);
    painter.setClipRect(area);
    painter.translate(area.topLeft());
    PaintContents(painter, QRect(QPoint(0, 0), area.size()));
  } else if (!area.isEmpty()) {
    // Off-screen first, so that a flashing or changing label never shows
    // its background without its text.
    const qreal ratio = devicePixelRatioF();
    QPixmap buffer(area.size() * ratio);
    buffer.setDevicePixelRatio(ratio);
    {
      QPainter memory(&buffer);
      PaintContents(memory, QRect(QPoint(0, 0), area.size()));
    }
    QPainter painter(this);
    painter.drawPixmap(area.topLeft(), buffer);
  }

  if (!border_ && !sunken_) return;
  QPainter painter(this);
  QRect edge = rect();
  if (border_) {
    painter.setPen(palette().color(QPalette::WindowText));
    painter.drawRect(edge.adjusted(0, 0, -1, -1));
    edge.adjust(1, 1, -1, -1);
  }
  if (sunken_) qDrawShadePanel(&painter, edge, palette(), true, 1);
}

void CStatusLabel::PaintContents(QPainter& painter, const QRect& area) {
  if (!transparent_) {
    const LabelBackground back =
        ChooseBackground(backFillMode_, bkColor1_, bkColor2_, bkBrush_.has_value(),
                         bkBrush_.value_or(0), defaultBrush_, shadow_,
                         flash_.BackgroundAlternate());
    if (back.gradient) {
      for (const GradientBand& band :
           GradientBands(area.left(), area.width(), back.first, back.second))
        painter.fillRect(band.left, area.top(), band.right - band.left, area.height(),
                         ToColor(band.color));
    } else {
      painter.fillRect(area, ToColor(back.first));
    }
  }

  // The hidden phase of flashing text takes the brush's colour, black when
  // there is no brush.
  const Color ink = flash_.TextHidden() ? bkBrush_.value_or(0) : textColor_;
  painter.setFont(font());
  painter.setPen(ToColor(ink));

  QString shown = text();
  const TextFormat format = StaticTextFormat(staticStyle_, shown.toStdString());
  shown.replace(QLatin1String("\r\n"), QLatin1String("\n"));

  if (rotated_) {
    painter.save();
    painter.translate(area.left() + area.width() / 2, area.top() + area.height() / 2);
    painter.rotate(-escapement_ / 10.0);
    painter.drawText(QPoint(0, 0), shown);
    painter.restore();
    return;
  }
  const int flags = QtFlags(format);
  painter.drawText(area, flags, shown);
  if (text3D_) {
    painter.setPen(ToColor(hiliteColor_));
    const int shift = text3DType_ != 0 ? 1 : -1;
    painter.drawText(area.translated(shift, shift), flags, shown);
  }
}

void CStatusLabel::mousePressEvent(QMouseEvent* event) {
  // Like a static control, the label takes clicks only when a link made it
  // notify.
  if (event->button() == Qt::LeftButton && (staticStyle_ & static_style::kNotify)) {
    const ClickAction action =
        DecideClick(notifyParent_, linkType_, linkUrl_.toStdString(), text().toStdString());
    const QString target = QString::fromStdString(action.target);
    ProgramLauncher& launcher = launcher_ ? *launcher_ : SystemLauncherInstance();
    QPointer<CStatusLabel> alive(this);
    switch (action.kind) {
      case ClickKind::kNotifyParent:
        emit Notified(property("controlId").toInt(), kLabelClickCode);
        break;
      case ClickKind::kOpenLocation: {
        const QUrl url = QUrl::fromUserInput(target);
        if (url.isValid()) launcher.OpenUrl(url);
        break;
      }
      case ClickKind::kMail: {
        const QUrl url(target, QUrl::TolerantMode);
        if (url.isValid()) launcher.OpenUrl(url);
        break;
      }
      case ClickKind::kDefault: break;
    }
    if (!alive) return;
  }
  QLabel::mousePressEvent(event);
}

}  // namespace torvek
