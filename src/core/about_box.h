// The program's icon and its about box.
#pragma once

#include <QIcon>
#include <QString>
#include <functional>

class QWidget;

namespace torvek {

class Prompter;

QIcon TorvekIcon();
void RunAboutBox(QWidget* parent, Prompter& prompter, const QString& filesFolder);
// Hangs the about box in the window's own menu (right click, or F1).
void AddAboutAction(QWidget& window, std::function<void()> show);
// The window's title: the program's name and the time the executable was
// made, or last changed where the file system keeps no birth time.
QString ProgramBaseTitle(const QString& programFile);

}  // namespace torvek
