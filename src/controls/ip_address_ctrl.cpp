#include "controls/ip_address_ctrl.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMimeData>
#include <QRegularExpressionValidator>
#include <algorithm>
#include <limits>

#include "platform/beeper.h"

namespace torvek {

namespace {

constexpr int kFieldMax = 255;
constexpr int kFieldDigits = 3;

}  // namespace

CIpAddressCtrl::CIpAddressCtrl(QWidget* parent) : QFrame(parent) {
  setFrameShape(QFrame::StyledPanel);
  setAutoFillBackground(true);
  auto* layout = new QHBoxLayout(this);
  layout->setContentsMargins(2, 0, 2, 0);
  layout->setSpacing(0);
  // Digits only; a value over 255 is corrected as it is typed, not refused.
  const auto* digits = new QRegularExpressionValidator(QRegularExpression("[0-9]{0,3}"), this);
  for (std::size_t i = 0; i < fields_.size(); ++i) {
    if (i > 0) {
      auto* dot = new QLabel(".", this);
      // A click on a dot reaches the control, which focuses a field.
      dot->setAttribute(Qt::WA_TransparentForMouseEvents);
      layout->addWidget(dot);
    }
    auto* field = new QLineEdit(this);
    field->setFrame(false);
    field->setMaxLength(kFieldDigits);
    field->setAlignment(Qt::AlignCenter);
    field->setValidator(digits);
    field->setAcceptDrops(false);
    fields_[i] = field;
    layout->addWidget(field, 1);
    field->installEventFilter(this);
    connect(field, &QLineEdit::textEdited, this, [this, i] { OnFieldEdited(static_cast<int>(i)); });
  }
  NameFields();
  setFocusProxy(fields_[0]);
}

void CIpAddressCtrl::NameFields() {
  const QString owner = accessibleName().isEmpty() ? QString("address") : accessibleName();
  for (std::size_t i = 0; i < fields_.size(); ++i)
    fields_[i]->setAccessibleName(QString("%1, field %2").arg(owner).arg(i + 1));
}

bool CIpAddressCtrl::event(QEvent* event) {
  // The template names the control after construction.
  if (event->type() == QEvent::Polish) NameFields();
  return QFrame::event(event);
}

void CIpAddressCtrl::Beep() {
  if (beeper_)
    beeper_->Beep();
  else
    QApplication::beep();
}

void CIpAddressCtrl::MoveTo(int index, bool selectAll) {
  if (index < 0 || index >= static_cast<int>(fields_.size())) return;
  QLineEdit* field = fields_[static_cast<std::size_t>(index)];
  field->setFocus(Qt::OtherFocusReason);
  if (selectAll)
    field->selectAll();
  else
    field->end(false);
}

void CIpAddressCtrl::OnFieldEdited(int index) {
  QLineEdit* field = fields_[static_cast<std::size_t>(index)];
  const QString text = field->text();
  if (text.toInt() > kFieldMax) {
    // Corrected in place; the operator sees the field that was refused.
    field->setText(QString::number(kFieldMax));
    field->end(false);
    Beep();
    return;
  }
  if (text.size() == kFieldDigits && field->cursorPosition() == kFieldDigits &&
      index + 1 < static_cast<int>(fields_.size()))
    MoveTo(index + 1, true);
}

bool CIpAddressCtrl::OnFieldKey(int index, const QKeyEvent& key) {
  QLineEdit* field = fields_[static_cast<std::size_t>(index)];
  const int last = static_cast<int>(fields_.size()) - 1;
  const bool caretOnly = !field->hasSelectedText();
  const int caret = field->cursorPosition();
  const int length = static_cast<int>(field->text().size());
  if (key.matches(QKeySequence::Paste)) {
    PasteText(index, QGuiApplication::clipboard()->text());
    return true;
  }
  const QString typed = key.text();
  // A separator moves on from a field that holds a number with the caret
  // after it. Right after a move the next field is selected or empty, so a
  // "." that follows a full field does not skip a field.
  if (typed == "." || typed == "," || typed == " ") {
    if (length > 0 && caretOnly && caret > 0) MoveTo(index + 1, true);
    return true;
  }
  // A digit at the end of a full field starts the field over, so that an
  // address typed from there is the address that shows.
  if (typed.size() == 1 && typed[0].isDigit() && caretOnly && length == kFieldDigits &&
      caret == kFieldDigits) {
    field->selectAll();
    return false;
  }
  if (key.key() == Qt::Key_Backspace && caretOnly && caret == 0 && index > 0) {
    MoveTo(index - 1, false);
    return true;
  }
  if (key.key() == Qt::Key_Left && caretOnly && caret == 0 && index > 0 &&
      key.modifiers() == Qt::NoModifier) {
    MoveTo(index - 1, false);
    return true;
  }
  if (key.key() == Qt::Key_Right && caretOnly && caret == length && index < last &&
      key.modifiers() == Qt::NoModifier) {
    MoveTo(index + 1, false);
    fields_[static_cast<std::size_t>(index) + 1]->home(false);
    return true;
  }
  return false;
}

bool CIpAddressCtrl::eventFilter(QObject* watched, QEvent* event) {
  const auto it = std::find(fields_.begin(), fields_.end(), watched);
  if (it == fields_.end()) return QFrame::eventFilter(watched, event);
  const int index = static_cast<int>(it - fields_.begin());
  QLineEdit* field = *it;
  switch (event->type()) {
    case QEvent::KeyPress:
      if (OnFieldKey(index, *static_cast<QKeyEvent*>(event))) return true;
      break;
    case QEvent::ShortcutOverride:
      // Paste is the control's, not a window shortcut's.
      if (static_cast<QKeyEvent*>(event)->matches(QKeySequence::Paste)) {
        event->accept();
        return true;
      }
      break;
    case QEvent::ContextMenu: {
      // The menu's Paste takes a dotted address as Ctrl+V does.
      QMenu* menu = field->createStandardContextMenu();
      menu->setAttribute(Qt::WA_DeleteOnClose);
      if (auto* paste = menu->findChild<QAction*>("edit-paste")) {
        disconnect(paste, &QAction::triggered, nullptr, nullptr);
        connect(paste, &QAction::triggered, this,
                [this, index] { PasteText(index, QGuiApplication::clipboard()->text()); });
      }
      menu->popup(static_cast<QContextMenuEvent*>(event)->globalPos());
      return true;
    }
    case QEvent::MouseButtonRelease:
      // The X11 selection pastes on a middle click.
      if (static_cast<QMouseEvent*>(event)->button() == Qt::MiddleButton &&
          QGuiApplication::clipboard()->supportsSelection()) {
        field->setFocus(Qt::MouseFocusReason);
        PasteText(index, QGuiApplication::clipboard()->text(QClipboard::Selection));
        return true;
      }
      break;
    default: break;
  }
  return QFrame::eventFilter(watched, event);
}

void CIpAddressCtrl::PasteText(int index, const QString& text) {
  QStringList parts = text.trimmed().split('.');
  QLineEdit* field = fields_[static_cast<std::size_t>(index)];
  if (parts.size() == 1) {
    // Plain digits go in as if typed.
    const QString digits = parts[0].trimmed();
    bool ok = false;
    digits.toUInt(&ok);
    if (!ok) {
      Beep();
      return;
    }
    field->insert(digits.left(kFieldDigits));
    OnFieldEdited(index);
    return;
  }
  const int count = static_cast<int>(fields_.size());
  if (parts.size() > count) {
    Beep();
    return;
  }
  const int first = parts.size() == count ? 0 : index;
  if (first + parts.size() > count) parts = parts.mid(0, count - first);
  std::array<QString, 4> values;
  bool corrected = false;
  for (int i = 0; i < parts.size(); ++i) {
    const QString part = parts[i].trimmed();
    bool ok = part.isEmpty();
    const unsigned value = part.isEmpty() ? 0 : part.toUInt(&ok);
    if (!ok) {
      Beep();
      return;
    }
    if (value > kFieldMax) corrected = true;
    values[static_cast<std::size_t>(i)] =
        part.isEmpty() ? QString() : QString::number(std::min<unsigned>(value, kFieldMax));
  }
  for (int i = 0; i < parts.size(); ++i)
    fields_[static_cast<std::size_t>(first + i)]->setText(values[static_cast<std::size_t>(i)]);
  if (corrected) Beep();
  MoveTo(first + static_cast<int>(parts.size()) - 1, false);
}

void CIpAddressCtrl::mousePressEvent(QMouseEvent* event) {
  // Reached only off the fields: the frame, the margins or a dot.
  const int x = event->position().toPoint().x();
  int nearest = 0;
  int best = std::numeric_limits<int>::max();
  for (int i = 0; i < static_cast<int>(fields_.size()); ++i) {
    const QRect r = fields_[static_cast<std::size_t>(i)]->geometry();
    const int distance = x < r.left() ? r.left() - x : (x > r.right() ? x - r.right() : 0);
    if (distance < best) {
      best = distance;
      nearest = i;
    }
  }
  QLineEdit* field = fields_[static_cast<std::size_t>(nearest)];
  field->setFocus(Qt::MouseFocusReason);
  if (x < field->geometry().center().x())
    field->home(false);
  else
    field->end(false);
  event->accept();
}

std::uint32_t CIpAddressCtrl::GetAddress() const {
  std::uint32_t value = 0;
  for (QLineEdit* field : fields_) value = (value << 8) | (field->text().toUInt() & 0xFF);
  return value;
}

void CIpAddressCtrl::SetAddress(std::uint32_t value) {
  for (int i = 0; i < 4; ++i)
    fields_[static_cast<std::size_t>(i)]->setText(QString::number((value >> (24 - 8 * i)) & 0xFF));
}

void CIpAddressCtrl::SetText(const QString& dotted) {
  const QStringList parts = dotted.split('.');
  for (std::size_t i = 0; i < fields_.size(); ++i) {
    bool ok = false;
    const int n = i < static_cast<std::size_t>(parts.size())
                      ? parts[static_cast<int>(i)].trimmed().toInt(&ok)
                      : 0;
    fields_[i]->setText(ok && n >= 0 && n <= kFieldMax ? QString::number(n) : QString());
  }
}

QString CIpAddressCtrl::Text() const {
  QStringList parts;
  for (QLineEdit* field : fields_) parts << field->text();
  return parts.join('.');
}

}  // namespace torvek
