#include "controls/log_box.h"

#include <QPlainTextEdit>
#include <QScrollBar>
#include <QTextCursor>

namespace torvek {

bool CatchUpLogBox(QPlainTextEdit& box, const std::string& text, bool& emptiedSinceShown,
                   std::size_t& shownSize, LogBoxText shown, std::size_t maxBytes) {
  const std::size_t from = emptiedSinceShown ? 0 : shownSize;
  if (!emptiedSinceShown && from >= text.size()) return false;
  const std::string_view stretch = std::string_view(text).substr(from, maxBytes);
  if (emptiedSinceShown) {
    box.setPlainText(shown(stretch));
  } else {
    QTextCursor end(box.document());
    end.movePosition(QTextCursor::End);
    end.insertText(shown(stretch));
  }
  emptiedSinceShown = false;
  shownSize = from + stretch.size();
  box.verticalScrollBar()->setValue(box.verticalScrollBar()->maximum());
  return shownSize < text.size();
}

}  // namespace torvek
