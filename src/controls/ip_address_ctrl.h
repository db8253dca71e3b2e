// A four-field IPv4 address edit. It gives and takes a 32-bit value with the
// first dotted field on top, and shows dotted text.
#pragma once

#include <QFrame>
#include <QString>
#include <array>
#include <cstdint>

class QLineEdit;

namespace torvek {

class CIpAddressCtrl : public QFrame {
  Q_OBJECT
 public:
  explicit CIpAddressCtrl(QWidget* parent = nullptr);

  // Blank fields count as zero.
  std::uint32_t GetAddress() const;
  void SetAddress(std::uint32_t value);
  // Shows dotted text; fields that do not read as 0..255 stay blank.
  void SetText(const QString& dotted);
  QString Text() const;
  QLineEdit* Field(int i) const { return fields_[static_cast<std::size_t>(i)]; }

 private:
  std::array<QLineEdit*, 4> fields_{};
};

}  // namespace torvek
