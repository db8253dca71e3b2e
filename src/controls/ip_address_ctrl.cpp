#include "controls/ip_address_ctrl.h"

#include <QHBoxLayout>
#include <QIntValidator>
#include <QLabel>
#include <QLineEdit>

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
    // A full field or a dot moves on to the next one, as such edits do.
    if (i + 1 < fields_.size()) {
      connect(field, &QLineEdit::textEdited, this, [this, i](const QString& text) {
        if (text.endsWith('.')) fields_[i]->setText(text.chopped(1));
        if (text.size() == 3 || text.endsWith('.')) fields_[i + 1]->setFocus();
      });
    }
  }
  setFocusProxy(fields_[0]);
}

std::uint32_t CIpAddressCtrl::GetAddress() const {
  std::uint32_t value = 0;
  for (QLineEdit* field : fields_) value = (value << 8) | (field->text().toUInt() & 0xFF);
  return value;
}

void CIpAddressCtrl::SetAddress(std::uint32_t value) {
  for (int i = 0; i < 4; ++i) fields_[static_cast<std::size_t>(i)]->setText(QString::number((value >> (24 - 8 * i)) & 0xFF));
}

void CIpAddressCtrl::SetText(const QString& dotted) {
  const QStringList parts = dotted.split('.');
  for (std::size_t i = 0; i < fields_.size(); ++i) {
    bool ok = false;
    const int n = i < static_cast<std::size_t>(parts.size()) ? parts[static_cast<int>(i)].trimmed().toInt(&ok) : 0;
    fields_[i]->setText(ok && n >= 0 && n <= 255 ? QString::number(n) : QString());
  }
}

QString CIpAddressCtrl::Text() const {
  QStringList parts;
  for (QLineEdit* field : fields_) parts << field->text();
  return parts.join('.');
}

}  // namespace torvek
