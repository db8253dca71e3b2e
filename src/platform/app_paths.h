// Where the tool keeps its files.
#pragma once

#include <QString>

namespace torvek {

class AppPaths {
 public:
  virtual ~AppPaths() = default;
  // Full path of the program file.
  virtual QString ProgramFile() = 0;
  // Folder of the program file when it is writable and not an installed
  // copy's, else the per-user data folder; always with a trailing '/'.
  virtual QString ProgramDir() = 0;
  // Where relative names ("command_list.txt") are looked for.
  virtual QString WorkingDir() = 0;
  // A fixed name that once carried a drive root, placed in ProgramDir().
  QString FixedFile(const QString& name) { return ProgramDir() + name; }
};

class SystemPaths : public AppPaths {
 public:
  QString ProgramFile() override;
  QString ProgramDir() override;
  QString WorkingDir() override;

 private:
  QString programDir_;
};

}  // namespace torvek
