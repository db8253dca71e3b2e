#include "platform/program_launcher.h"

#include <QApplication>
#include <QDesktopServices>
#include <QFileInfo>
#include <QHash>
#include <QProcess>
#include <QStandardPaths>

#include "platform/prompter.h"

namespace torvek {

namespace {

QString InstallHint(const QString& program) {
  const QString package = PackageOfProgram(program);
  return package.isEmpty() ? QString() : QString(" (sudo apt install %1)").arg(package);
}

}  // namespace

QString PackageOfProgram(const QString& program) {
  static const QHash<QString, QString> packages = {
      {"x-terminal-emulator", "xterm"}, {"xterm", "xterm"},
      {"ping", "iputils-ping"},         {"telnet", "telnet"},
      {"xdg-open", "xdg-utils"},        {"ip", "iproute2"},
  };
  return packages.value(QFileInfo(program).fileName());
}

bool SystemLauncher::Missing(const QString& program, const QString& text) {
  if (told_.contains(program)) return false;
  told_.insert(program);
  if (prompter_) {
    prompter_->Message(text);
  } else {
    QtPrompter box;
    box.SetParent(QApplication::activeWindow());
    box.Message(text, {});
  }
  return false;
}

bool SystemLauncher::StartInTerminal(const QStringList& command) {
  QString terminal = QStandardPaths::findExecutable("x-terminal-emulator");
  if (terminal.isEmpty()) terminal = QStandardPaths::findExecutable("xterm");
  if (terminal.isEmpty())
    return Missing("x-terminal-emulator", " No terminal window program found to run \"" +
                                              command.join(' ') + "\". Install one" +
                                              InstallHint("xterm"));
  // The terminal would open and close at once on a program that is not there.
  if (!command.isEmpty() && QStandardPaths::findExecutable(command.first()).isEmpty())
    return Missing(command.first(), " Can not start " + command.first() + ": it is not installed" +
                                        InstallHint(command.first()));
  QStringList arguments;
  if (!command.isEmpty()) arguments << "-e" << command;
  if (!QProcess::startDetached(terminal, arguments))
    return Missing(terminal, " Can not start the terminal window " + terminal);
  return true;
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
  if (QProcess::startDetached(path, arguments)) return true;
  return Missing(path, " Can not start " + path + InstallHint(path));
}

bool SystemLauncher::Open(const QUrl& url, const QString& what) {
  if (QDesktopServices::openUrl(url)) return true;
  if (QStandardPaths::findExecutable("xdg-open").isEmpty())
    return Missing("xdg-open", " No program found to open " + what + ". Install the desktop's " +
                                   "opener and a viewer" + InstallHint("xdg-open"));
  const QString kind = url.isLocalFile() ? "viewer" : "browser";
  return Missing(kind, " No " + kind + " opened " + what + ". Install one for xdg-open");
}

bool SystemLauncher::OpenFile(const QString& path) { return Open(QUrl::fromLocalFile(path), path); }

bool SystemLauncher::OpenUrl(const QUrl& url) { return Open(url, url.toString()); }

}  // namespace torvek
