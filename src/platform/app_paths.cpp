#include "platform/app_paths.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

namespace torvek {

QString SystemPaths::ProgramFile() { return QCoreApplication::applicationFilePath(); }

QString SystemPaths::ProgramDir() {
  if (!programDir_.isEmpty()) return programDir_;
  QString dir = QCoreApplication::applicationDirPath();
  // An installed copy (its data beside the bin folder) never writes there,
  // even when run by root, for whom /usr/bin is writable.
  const bool installed = QFileInfo::exists(dir + "/../share/torvek");
  if (installed || !QFileInfo(dir).isWritable()) {
    dir = QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation);
    QDir().mkpath(dir);
  }
  programDir_ = QDir(dir).absolutePath() + '/';
  return programDir_;
}

QString SystemPaths::WorkingDir() { return QDir::currentPath() + '/'; }

}  // namespace torvek
