#include "core/daily_log.h"

#include <QFile>

namespace torvek {

std::tm LocalTm(const QDateTime& when) {
  std::tm t{};
  const QDate d = when.date();
  const QTime c = when.time();
  t.tm_year = d.year() - 1900;
  t.tm_mon = d.month() - 1;
  t.tm_mday = d.day();
  t.tm_wday = d.dayOfWeek() % 7;
  t.tm_hour = c.hour();
  t.tm_min = c.minute();
  t.tm_sec = c.second();
  return t;
}

void AppendConsoleLog(const QString& path, const QString& text) {
  AppendConsoleLog(path, text.toLocal8Bit());
}

void AppendConsoleLog(const QString& path, const QByteArray& bytes) {
  QFile file(path);
  if (!file.open(QIODevice::WriteOnly | QIODevice::Append)) return;
  file.write(bytes);
}

}  // namespace torvek
