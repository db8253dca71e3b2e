// Starting the system's own programs. Always detached: the tool never waits.
// An address handed to a program is always one argument, never shell text.
#pragma once

#include <QSet>
#include <QString>
#include <QStringList>
#include <QUrl>

namespace torvek {

class Prompter;

class ProgramLauncher {
 public:
  virtual ~ProgramLauncher() = default;
  // A terminal window running the command (program and its arguments).
  virtual bool StartInTerminal(const QStringList& command) = 0;
  // No window; output discarded; failure stays silent.
  virtual bool StartHidden(const QString& program, const QStringList& arguments) = 0;
  // A program beside the tool, with its own window.
  virtual bool StartProgram(const QString& path, const QStringList& arguments) = 0;
  // The desktop's viewer for a file, or the browser for a location.
  virtual bool OpenFile(const QString& path) = 0;
  virtual bool OpenUrl(const QUrl& url) = 0;
};

// A program that is not there is told to the operator in a box, once per
// program and run, with the package that brings it; hidden starts stay silent.
class SystemLauncher : public ProgramLauncher {
 public:
  // Where the boxes go; a box of the desktop's own until set.
  void SetPrompter(Prompter* prompter) { prompter_ = prompter; }
  bool StartInTerminal(const QStringList& command) override;
  bool StartHidden(const QString& program, const QStringList& arguments) override;
  bool StartProgram(const QString& path, const QStringList& arguments) override;
  bool OpenFile(const QString& path) override;
  bool OpenUrl(const QUrl& url) override;

 private:
  bool Open(const QUrl& url, const QString& what);
  // Tells once per `program`; gives false for the caller to return.
  bool Missing(const QString& program, const QString& text);
  Prompter* prompter_ = nullptr;
  QSet<QString> told_;
};

// The Debian package that brings a program the tool starts; empty if unknown.
QString PackageOfProgram(const QString& program);

}  // namespace torvek
