// A page of the main window is a part of that window, not a dialog of its own.
#pragma once

class QWidget;

namespace torvek {

// Esc that none of the page's controls took stops at the page. Without this it
// reaches the main window, which ends the program and loses the module list.
// Esc on the window's own controls still ends it.
void LeaveEscapeOnPage(QWidget* page);

}  // namespace torvek
