// The jig test of a module: the service on its UDP port 9998 runs one test
// item per request and answers it, and a run of "All Test" leaves its record
// in the report file. What goes out, how an answer reads, which row and which
// report field it makes, and the steps of a run.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace torvek {

inline constexpr std::uint16_t kJigPort = 9998;
inline constexpr std::size_t kJigRequestLength = 130;
// The work area an answer is read in; the rest of a longer datagram is lost.
inline constexpr std::size_t kJigAnswerArea = 4096;
// An answer's code is its item's plus this.
inline constexpr std::uint8_t kJigAnswerOffset = 0x30;
inline constexpr std::uint8_t kJigUsbItem = 0x16;
inline constexpr std::uint8_t kJigWlanItem = 0x30;

// The report's fixed name; it lives in the program folder.
inline constexpr std::string_view kJigReportName = "halvorn_3g_test.txt";

inline constexpr std::string_view kJigNoModuleText = "Module is not found, click serach button";
inline constexpr std::string_view kJigNotSelectedText =
    "Module is not selected at the list, Please select module first!!!";
inline constexpr std::string_view kJigSocketErrorText =
    "udp port port open error!!!!  check system";
inline constexpr std::string_view kJigReportFailedText = " data file open failed";
inline constexpr std::string_view kJigUnknownText = " Unknown Command";
// A row's label once its request is out, and every label as a run starts.
inline constexpr std::string_view kJigRowWaitingText = " Waiting... ";
inline constexpr std::string_view kJigRunWaitingText = "Waiting....";

// One test item and its row on the page.
struct JigRow {
  std::uint8_t item;
  int buttonId;
  int resultId;
  // The report's field for a good and for a failed answer; empty for the two
  // items whose answers write their own fields.
  std::string_view goodField;
  std::string_view failField;
  // The label of a good answer; empty where the label shows the module's text.
  std::string_view goodLabel;
};
extern const std::array<JigRow, 11> kJigRows;
// Null for an item no row has.
const JigRow* JigRowOfItem(std::uint8_t item);

using JigRequest = std::array<std::uint8_t, kJigRequestLength>;
JigRequest BuildJigRequest(std::uint8_t item);

// Where a request goes when the operator has chosen no module yet: the only
// module in the list, or nowhere, with the box that says why.
enum class JigTarget { Selected, FirstRow, NoModule, NotSelected };
JigTarget ChooseJigTarget(bool haveAddress, int rowCount);
// The box of a target that sends nothing; empty for the others.
std::string_view JigTargetRefusal(JigTarget target);

struct JigAnswer {
  std::uint8_t code = 0;
  std::uint8_t result = 0;
  // From byte 3 up to a NUL or the end of the datagram.
  std::string text;
};
// Reads at most kJigAnswerArea bytes; what is missing reads as zero.
JigAnswer ReadJigAnswer(const std::uint8_t* data, std::size_t length);

// What an answer does: the report fields, written in this order, then the
// row's label. An unknown code writes nothing and shows kJigUnknownText.
struct JigAnswerEffect {
  bool known = false;
  int resultId = 0;
  std::string label;
  std::vector<std::string> fields;
};
// `firstRowMac` is the MAC cell of the list's first row (empty without rows):
// the USB answer reports it as the module under test.
JigAnswerEffect DecideJigAnswer(const JigAnswer& answer, std::string_view firstRowMac);

// One write to the report: a tab, then the text.
std::string JigReportWrite(std::string_view text);
// The line a run opens the report's record with.
std::string JigRunDateLine(int year, int month, int day, int hour, int minute, int second);

// The steps of "All Test", in the order their effects must happen. The press
// runs the first list up to PostStep; the posted step message, with a first
// parameter of 1, runs the second. `value` is the pause in ms or the item.
enum class JigStepKind { SetAllWaiting, Search, Repaint, Pause, DateLine, PostStep, Request };
struct JigStep {
  JigStepKind kind;
  int value = 0;
};
inline constexpr int kJigStepPauseMs = 1000;
std::span<const JigStep> AllTestPressSteps();
// Empty for any first parameter but 1.
std::span<const JigStep> AllTestStepSteps(long long wParam);

}  // namespace torvek
