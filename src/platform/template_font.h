// The window templates are laid out in dialog units of 1.5 px across and
// 1.75 px down, which is what a font with an average character 6 px wide
// gives. The program's font is picked to match, so that no label or button
// text outgrows the place its template gives it.
#pragma once

#include <QFont>

namespace torvek {

// Horizontal dialog-unit base of a font, in pixels: the mean advance of the
// 52 letters, rounded as the templates' own arithmetic does.
int DialogBaseWidth(const QFont& font);

// A sans font of the family list below (the first one installed, else the
// system's), at the largest pixel size from 11 down to 8 whose base is at
// most 6 px.
QFont TemplateFont(const QFont& systemFont);

}  // namespace torvek
