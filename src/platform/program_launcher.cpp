#include "platform/program_launcher.h"

#include <QDesktopServices>
#include <QProcess>
#include <QStandardPaths>

namespace torvek {

bool SystemLauncher::StartInTerminal(const QStringList& command) {
  QString terminal = QStandardPaths::findExecutable("x-terminal-emulator");
  if (terminal.isEmpty()) terminal = QStandardPaths::findExecutable("xterm");
  if (terminal.isEmpty()) return false;
  QStringList arguments;
  if (!command.isEmpty()) arguments << "-e" << command;
  return QProcess::startDetached(terminal, arguments);
}

bool SystemLauncher::StartHidden(const QString& program, const QStringList& arguments) {
  QProcess process;
  process.setProgram(program);
  process.setArguments(arguments);
  process.setStandardOutputFile(QProcess::nullDevice());
  process.setStandardErrorFile(QProcess::nullDevice());
  return process.startDetached();
}

bool SystemLauncher::StartProgram(const QString& path, const QStringList& arguments) {
  return QProcess::startDetached(path, arguments);
}

bool SystemLauncher::OpenFile(const QString& path) {
  return QDesktopServices::openUrl(QUrl::fromLocalFile(path));
}

bool SystemLauncher::OpenUrl(const QUrl& url) { return QDesktopServices::openUrl(url); }

}  // namespace torvek
