#include "controls/page_keys.h"

#include <QKeyEvent>
#include <QWidget>

namespace torvek {

namespace {

class EscapeStop : public QObject {
 public:
  using QObject::QObject;

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override {
    // The key the window's dialog takes for Cancel.
    if (event->type() == QEvent::KeyPress &&
        static_cast<QKeyEvent*>(event)->matches(QKeySequence::Cancel)) {
      event->accept();
      return true;
    }
    return QObject::eventFilter(watched, event);
  }
};

}  // namespace

void LeaveEscapeOnPage(QWidget* page) { page->installEventFilter(new EscapeStop(page)); }

}  // namespace torvek
