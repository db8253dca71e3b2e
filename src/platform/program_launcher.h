// Starting the system's own programs. Always detached: the tool never waits.
// An address handed to a program is always one argument, never shell text.
#pragma once

#include <QString>
#include <QStringList>
#include <QUrl>

namespace torvek {

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

class SystemLauncher : public ProgramLauncher {
 public:
  bool StartInTerminal(const QStringList& command) override;
  bool StartHidden(const QString& program, const QStringList& arguments) override;
  bool StartProgram(const QString& path, const QStringList& arguments) override;
  bool OpenFile(const QString& path) override;
  bool OpenUrl(const QUrl& url) override;
};

}  // namespace torvek
