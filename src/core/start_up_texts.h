// Texts that start-up writes: the daily log's name and head, and the title.
#pragma once

#include <ctime>
#include <string>

namespace torvek {

inline constexpr const char* kProductTitle = "Torvek V1.6 Mac";

// "%s%04d%02d%02d-%04d%02d%02d.txt": the hour has four digits.
std::string DailyLogPath(const std::string& programDir, const std::tm& local);
// The three texts at the head of each run's log.
std::string DailyLogHead(const std::string& dailyLogPath);
// asctime of the program file's time, cut at 24 characters (its line end).
std::string ProgramTimeText(const std::tm& local);
// "%s (%s) :"
std::string BaseTitle(const std::string& timeText);
// "%s  selected=%s"
std::string SelectedTitle(const std::string& baseTitle, const std::string& address);

}  // namespace torvek
