// What the console page shows and logs for a text on the serial line.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace torvek {

// Sent text (direction 1) and received text holding '<' start a new line with
// a TX/RX time stamp; other received text flows on as it came.
std::string ConsoleDisplayText(int direction, std::string_view text, int hour, int minute,
                               int second);

// What the log file gets for a received text: nothing for an echo of the last
// line sent, the text with " gapT=<ms>ms\n" behind it when it holds '>', else
// the text itself.
std::optional<std::string> ReceivedLogText(std::string_view text, std::string_view lastSentText,
                                           std::int64_t gapMs);

// Bytes the terminator row appends on the console page: 0 none, 1 CR, 2 LF,
// 3 CR LF.
std::string_view ConsoleTerminator(int row);

// Ticks of 100 ms in one Auto Send period of an interval row (0..23).
int IntervalTicks(int row);
inline constexpr int kIntervalRows = 24;
std::string IntervalText(int row);

// The box is emptied, not trimmed, once it holds this many lines.
inline constexpr int kConsoleMaxLines = 4096;
// A line to send is built in a buffer of this size, NUL included.
inline constexpr std::size_t kSendLineSize = 16384;

// The line a send puts out: the input cut so that it and its terminator fit
// the line buffer, then the terminator.
std::string BuildConsoleLine(std::string_view input, int terminatorRow);

// The text of the log box. A CR LF or a lone LF breaks a line, a lone CR is
// not shown. Once the box holds kConsoleMaxLines lines it is emptied before
// the next text goes in, so the work per text stays bounded.
class ConsoleBox {
 public:
  bool Append(std::string_view displayText);
  void Clear();
  const std::string& Text() const { return text_; }
  int Lines() const { return breaks_ + 1; }
  // What the view has not been given yet: all of Text() after an emptying,
  // else the part behind `shownSize`.
  bool emptiedSinceShown = false;
  std::size_t shownSize = 0;
  // Set once the box has held "Segmentation", "fault" or "ORB730wi", also
  // across two texts and across an emptying; only the operator clears it.
  // Append returns true when it sets it.
  bool crashTextSeen = false;

 private:
  // One less than the longest crash text.
  static constexpr std::size_t kCrashTextTail = 11;
  std::string text_;
  std::string tail_;
  int breaks_ = 0;
};

}  // namespace torvek
