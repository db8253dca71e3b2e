#include "core/daily_log.h"

#include <QFile>

namespace torvek {

void AppendConsoleLog(const QString& path, const QString& text) {
  QFile file(path);
  if (!file.open(QIODevice::WriteOnly | QIODevice::Append)) return;
  file.write(text.toLocal8Bit());
}

}  // namespace torvek
