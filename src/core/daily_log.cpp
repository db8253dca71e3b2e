#include "core/daily_log.h"

#include <QFile>

namespace torvek {

void AppendConsoleLog(const QString& path, const QString& text) {
  AppendConsoleLog(path, text.toLocal8Bit());
}

void AppendConsoleLog(const QString& path, const QByteArray& bytes) {
  QFile file(path);
  if (!file.open(QIODevice::WriteOnly | QIODevice::Append)) return;
  file.write(bytes);
}

}  // namespace torvek
