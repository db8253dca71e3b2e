// The bundle of platform services a window of the tool is built with.
#pragma once

#include "platform/adapter_info.h"
#include "platform/app_paths.h"
#include "platform/beeper.h"
#include "platform/clock.h"
#include "platform/program_launcher.h"
#include "platform/prompter.h"

namespace torvek {

struct Platform {
  Prompter& prompter;
  ProgramLauncher& launcher;
  Beeper& beeper;
  Clock& clock;
  AdapterInfo& adapters;
  AppPaths& paths;
};

}  // namespace torvek
