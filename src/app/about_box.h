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

}  // namespace torvek
