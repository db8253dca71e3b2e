#include "terminals/console_rules.h"

#include <algorithm>
#include <cstdio>
#include <functional>
#include <utility>

namespace torvek {

std::string ConsoleDisplayText(int direction, std::string_view text, int hour, int minute,
                               int second) {
  if (direction == 0 && text.find('<') == std::string_view::npos) return std::string(text);
  char stamp[32];
  std::snprintf(stamp, sizeof stamp, "\r\n%s-[%02d:%02d:%02d]", direction == 1 ? "TX" : "RX", hour,
                minute, second);
  return stamp + std::string(text);
}

std::optional<std::string> ReceivedLogText(std::string_view text, std::string_view lastSentText,
                                           std::int64_t gapMs) {
  if (text == lastSentText) return std::nullopt;
  if (text.find('>') == std::string_view::npos) return std::string(text);
  return std::string(text) + " gapT=" + std::to_string(static_cast<int>(gapMs)) + "ms\n";
}

std::string_view ConsoleTerminator(int row) {
  switch (row) {
    case 1: return "\r";
    case 2: return "\n";
    case 3: return "\r\n";
    default: return "";
  }
}

int IntervalTicks(int row) {
  if (row < 0) return 1;
  if (row < 9) return row + 1;
  if (row < 18) return (row - 8) * 10;
  if (row < kIntervalRows) return (row - 17) * 100;
  return 600;
}

std::string IntervalText(int row) {
  char text[32];
  if (row < 9)
    std::snprintf(text, sizeof text, "%4dms", (row + 1) * 100);
  else if (row < 18)
    std::snprintf(text, sizeof text, "%dms", (row - 8) * 1000);
  else
    std::snprintf(text, sizeof text, "%d seconds", (row - 17) * 10);
  return text;
}

std::string BuildConsoleLine(std::string_view input, int terminatorRow) {
  const std::string_view terminator = ConsoleTerminator(terminatorRow);
  const std::size_t room = kSendLineSize - 1 - terminator.size();
  std::string line(input.substr(0, room));
  line += terminator;
  return line;
}

bool ConsoleBox::Append(std::string_view displayText) {
  if (Lines() >= kConsoleMaxLines) {
    // The end of the old text stays in view for a crash text cut in two.
    std::string tail = text_.substr(text_.size() - std::min(text_.size(), kCrashTextTail));
    Clear();
    tail_ = std::move(tail);
  }
  const std::size_t before = text_.size();
  breaks_ += static_cast<int>(std::count(displayText.begin(), displayText.end(), '\n'));
  // Copied in runs between the CRs, which are not shown.
  for (std::size_t cr; (cr = displayText.find('\r')) != std::string_view::npos;) {
    text_.append(displayText.substr(0, cr));
    displayText.remove_prefix(cr + 1);
  }
  text_.append(displayText);
  const std::string tail = std::exchange(tail_, {});
  if (crashTextSeen) return false;
  // Only the new text and the few bytes before it can hold a new match.
  const std::size_t from = before - std::min(before, kCrashTextTail);
  std::string_view recent(text_);
  recent.remove_prefix(from);
  std::string joined;  // only right after an emptying
  if (!tail.empty()) recent = joined = tail + std::string(recent);
  // Skipping searchers: a fast line costs a fraction of a pass per text.
  using Searcher = std::boyer_moore_horspool_searcher<std::string_view::const_iterator>;
  static const std::string_view kCrashTexts[] = {"Segmentation", "fault", "ORB730wi"};
  static const Searcher kSearchers[] = {Searcher(kCrashTexts[0].begin(), kCrashTexts[0].end()),
                                        Searcher(kCrashTexts[1].begin(), kCrashTexts[1].end()),
                                        Searcher(kCrashTexts[2].begin(), kCrashTexts[2].end())};
  for (const Searcher& searcher : kSearchers)
    if (std::search(recent.begin(), recent.end(), searcher) != recent.end()) crashTextSeen = true;
  return crashTextSeen;
}

void ConsoleBox::Clear() {
  text_.clear();
  tail_.clear();
  breaks_ = 0;
  emptiedSinceShown = true;
  shownSize = 0;
}

}  // namespace torvek
