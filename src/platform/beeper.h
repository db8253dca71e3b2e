#pragma once

namespace torvek {

class Beeper {
 public:
  virtual ~Beeper() = default;
  virtual void Beep() = 0;
};

class SystemBeeper : public Beeper {
 public:
  void Beep() override;
};

}  // namespace torvek
