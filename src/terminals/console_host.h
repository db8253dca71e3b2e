// What the Console page asks of the window around it.
#pragma once

#include <QString>

namespace torvek {

class ConsoleHost {
 public:
  virtual bool LoadCommandList(const QString& path) = 0;
  // One step of the command list's walk; 0 when the list is empty.
  virtual int NextCommandRow(int& count, int& row) = 0;
  // The open button's wish, carried out after the click has been handled.
  virtual void PostSerialSwitch(int open) = 0;

 protected:
  ~ConsoleHost() = default;
};

}  // namespace torvek
