#pragma once

namespace torvek {

class Beeper {
 public:
  virtual ~Beeper() = default;
  // type 0 is the plain beep, 0x30 the warning.
  virtual void MessageBeep(unsigned type) = 0;
  void Beep() { MessageBeep(0); }
};

class SystemBeeper : public Beeper {
 public:
  void MessageBeep(unsigned type) override;
};

}  // namespace torvek
