// What start-up finds out about the program and where its files go. Made
// once, before the window opens, and never changed.
#pragma once

#include <QString>

namespace torvek {

struct Platform;

struct StartUpValues {
  QString programFile;
  QString programDir;
  QString dailyLogPath;
  QString serialConfigPath;
  QString baseTitle;
};

// The window's title: the program's name and the time the executable was
// made, or last changed where the file system keeps no birth time.
QString ProgramBaseTitle(const QString& programFile);
// Reads the program's paths and the clock of the platform.
StartUpValues MakeStartUpValues(Platform& platform);

}  // namespace torvek
