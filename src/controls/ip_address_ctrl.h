// A four-field IPv4 address edit. It gives and takes a 32-bit value with the
// first dotted field on top, and shows dotted text.
//
// Typing follows the desktop's address control: a full field (three digits)
// or "." moves on to the next field, selected; a "." right after such a move
// stays put; a value over 255 becomes 255 with a beep; Backspace in an empty
// field goes back to the end of the one before; pasting a dotted address
// fills the fields; a click anywhere in the control, dots included, focuses
// the nearest field.
#pragma once

#include <QFrame>
#include <QString>
#include <array>
#include <cstdint>

class QKeyEvent;
class QLineEdit;

namespace torvek {

class Beeper;

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
  // The beep of a refused or corrected entry; the system's beep until set.
  void SetBeeper(Beeper* beeper) { beeper_ = beeper; }

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  bool event(QEvent* event) override;

 private:
  bool OnFieldKey(int index, const QKeyEvent& key);
  void OnFieldEdited(int index);
  // Text from the clipboard or a drop, at field `index`: a dotted address
  // fills fields from there (all four when it has four parts), plain digits
  // go into the field as typed.
  void PasteText(int index, const QString& text);
  void MoveTo(int index, bool selectAll);
  void Beep();
  void NameFields();
  std::array<QLineEdit*, 4> fields_{};
  Beeper* beeper_ = nullptr;
};

}  // namespace torvek
