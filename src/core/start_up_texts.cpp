#include "core/start_up_texts.h"

#include <cstdio>

namespace torvek {

std::string DailyLogPath(const std::string& programDir, const std::tm& t) {
  char name[64];
  std::snprintf(name, sizeof name, "%04d%02d%02d-%04d%02d%02d.txt", t.tm_year + 1900, t.tm_mon + 1,
                t.tm_mday, t.tm_hour, t.tm_min, t.tm_sec);
  return programDir + name;
}

std::string DailyLogHead(const std::string& dailyLogPath) {
  return "=========================================================\n" + dailyLogPath +
         "\n= cmd  time    recv ===================================\n";
}

std::string ProgramTimeText(const std::tm& t) {
  // asctime's fixed layout: "Www Mmm dd hh:mm:ss yyyy\n".
  static const char* const kDays[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
  static const char* const kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                        "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  char text[64];
  std::snprintf(text, sizeof text, "%.3s %.3s%3d %.2d:%.2d:%.2d %d", kDays[(t.tm_wday % 7 + 7) % 7],
                kMonths[(t.tm_mon % 12 + 12) % 12], t.tm_mday, t.tm_hour, t.tm_min, t.tm_sec,
                1900 + t.tm_year);
  return std::string(text).substr(0, 24);
}

std::string BaseTitle(const std::string& timeText) {
  return std::string(kProductTitle) + " (" + timeText + ") :";
}

std::string SelectedTitle(const std::string& baseTitle, const std::string& address) {
  return baseTitle + "  selected=" + address;
}

}  // namespace torvek
