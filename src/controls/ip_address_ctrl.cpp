#include "controls/ip_address_ctrl.h"

#include <QHBoxLayout>
#include <QIntValidator>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <algorithm>

namespace torvek {

CIpAddressCtrl::CIpAddressCtrl(QWidget* parent) : QFrame(parent) {
  setFrameShape(QFrame::StyledPanel);
  setAutoFillBackground(true);
  auto* layout = new QHBoxLayout(this);
  layout->setContentsMargins(2, 0, 2, 0);
  layout->setSpacing(0);
  for (std::size_t i = 0; i < fields_.size(); ++i) {
    if (i > 0) layout->addWidget(new QLabel(".", this));
    auto* field = new QLineEdit(this);
    field->setFrame(false);
    field->setMaxLength(3);
    field->setAlignment(Qt::AlignCenter);
    field->setValidator(new QIntValidator(0, 255, field));
    field->setAccessibleName(QString("field %1").arg(i + 1));
    fields_[i] = field;
    layout->addWidget(field, 1);
    field->installEventFilter(this);
    // A full field moves on to the next one.
    if (i + 1 < fields_.size()) {
      connect(field, &QLineEdit::textEdited, this, [this, i](const QString& text) {
        if (text.size() == 3) MoveTo(static_cast<int>(i) + 1, true);
      });
    }
  }
  setFocusProxy(fields_[0]);
}

void CIpAddressCtrl::MoveTo(int index, bool selectAll) {
  if (index < 0 || index >= static_cast<int>(fields_.size())) return;
  QLineEdit* field = fields_[static_cast<std::size_t>(index)];
  field->setFocus();
  if (selectAll)
    field->selectAll();
  else
    field->end(false);
}

bool CIpAddressCtrl::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() != QEvent::KeyPress) return QFrame::eventFilter(watched, event);
  const auto it = std::find(fields_.begin(), fields_.end(), watched);
  if (it == fields_.end()) return QFrame::eventFilter(watched, event);
  const int index = static_cast<int>(it - fields_.begin());
  QLineEdit* field = *it;
  const auto* key = static_cast<QKeyEvent*>(event);
  // The validator takes digits only, so the separator is handled here: it
  // moves on to the next field once this one holds a number.
  if (key->text() == "." || key->text() == ",") {
    if (!field->text().isEmpty()) MoveTo(index + 1, true);
    return true;
  }
  if (key->key() == Qt::Key_Backspace && field->cursorPosition() == 0 &&
      !field->hasSelectedText() && index > 0) {
    MoveTo(index - 1, false);
    return true;
  }
  if (key->key() == Qt::Key_Left && field->cursorPosition() == 0 && index > 0) {
    MoveTo(index - 1, false);
    return true;
  }
  if (key->key() == Qt::Key_Right && field->cursorPosition() == field->text().size() &&
      index + 1 < static_cast<int>(fields_.size())) {
    fields_[static_cast<std::size_t>(index) + 1]->setFocus();
    fields_[static_cast<std::size_t>(index) + 1]->home(false);
    return true;
  }
  return QFrame::eventFilter(watched, event);
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
    fields_[i]->setText(ok && n >= 0 && n <= 255 ? QString::number(n) : QString());
  }
}

QString CIpAddressCtrl::Text() const {
  QStringList parts;
  for (QLineEdit* field : fields_) parts << field->text();
  return parts.join('.');
}

}  // namespace torvek
