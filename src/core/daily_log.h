#pragma once

#include <QString>

namespace torvek {

// Appends text to the daily log; a file that cannot be opened drops the text.
void AppendConsoleLog(const QString& path, const QString& text);

}  // namespace torvek
