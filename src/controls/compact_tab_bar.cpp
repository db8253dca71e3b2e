#include "controls/compact_tab_bar.h"

#include <QApplication>
#include <QProxyStyle>
#include <QTabBar>
#include <QTabWidget>

namespace torvek {

namespace {

// Four pixels on either side of a title.
constexpr int kTabTextPadding = 8;

class CompactTabStyle : public QProxyStyle {
 public:
  // A style of its own, of the application's kind: the proxy owns its base.
  CompactTabStyle() : QProxyStyle(QApplication::style()->name()) {}

  int pixelMetric(PixelMetric metric, const QStyleOption* option,
                  const QWidget* widget) const override {
    if (metric == PM_TabBarTabHSpace) return kTabTextPadding;
    return QProxyStyle::pixelMetric(metric, option, widget);
  }
};

}  // namespace

void CompactTabBar(QTabWidget& tabs) {
  QTabBar* bar = tabs.tabBar();
  auto* style = new CompactTabStyle;
  style->setParent(bar);
  bar->setStyle(style);
  bar->setElideMode(Qt::ElideNone);
  bar->setExpanding(false);
}

}  // namespace torvek
