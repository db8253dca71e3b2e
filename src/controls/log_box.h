// A box that shows a log which only grows until it is emptied: the Console,
// Network and Upgrader boxes. The log keeps what the box has been given, so
// that a catch-up inserts only the new part instead of setting the whole text.
#pragma once

#include <QString>
#include <cstddef>
#include <string>
#include <string_view>

class QPlainTextEdit;

namespace torvek {

// How a stretch of the log's bytes reads in the box.
using LogBoxText = QString (*)(std::string_view bytes);

// Brings `box` up to date with `text`: all of it after an emptying, else what
// lies behind `shownSize`, at most `maxBytes` in one call, then scrolls to the
// end. True when part of the text is still to be shown.
bool CatchUpLogBox(QPlainTextEdit& box, const std::string& text, bool& emptiedSinceShown,
                   std::size_t& shownSize, LogBoxText shown,
                   std::size_t maxBytes = std::string::npos);

// The same for a log that keeps its Text(), emptiedSinceShown and shownSize.
template <class Log>
bool CatchUpLogBox(QPlainTextEdit& box, Log& log, LogBoxText shown,
                   std::size_t maxBytes = std::string::npos) {
  return CatchUpLogBox(box, log.Text(), log.emptiedSinceShown, log.shownSize, shown, maxBytes);
}

}  // namespace torvek
