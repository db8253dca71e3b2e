#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <ctime>

namespace torvek {

// The fields of a local time, as the log's and the title's texts take them.
std::tm LocalTm(const QDateTime& when);

// Appends text to the daily log; a file that cannot be opened drops the text.
void AppendConsoleLog(const QString& path, const QString& text);
// The same for bytes off the serial line, written as they came.
void AppendConsoleLog(const QString& path, const QByteArray& bytes);
// A literal is text.
inline void AppendConsoleLog(const QString& path, const char* text) {
  AppendConsoleLog(path, QString::fromUtf8(text));
}

}  // namespace torvek
