// The program's icon and its about box.
#pragma once

#include <QIcon>

class QWidget;

namespace torvek {

class Prompter;

QIcon TorvekIcon();
void RunAboutBox(QWidget* parent, Prompter& prompter);

}  // namespace torvek
