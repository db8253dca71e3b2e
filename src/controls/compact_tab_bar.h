// The main window's tab control holds seven pages in a narrow pane. With the
// style's usual tab padding their titles need more than the pane's width, and
// the bar scrolls; with a padding like the classic tab control's they all show.
#pragma once

class QTabWidget;

namespace torvek {

// Tabs as wide as their titles plus a few pixels on either side; titles are
// never shortened. Should a much wider font still overflow the bar, the
// scroll arrows stay as the fallback.
void CompactTabBar(QTabWidget& tabs);

}  // namespace torvek
