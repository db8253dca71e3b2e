// A main window built for the lab: scripted boxes, a temporary program folder,
// and the PC side's real adapters and sockets.
#pragma once

#include <QTemporaryDir>
#include <QtTest/QTest>

#include "admin/file_sender.h"
#include "app/command_list_panel.h"
#include "app/main_dialog.h"
#include "lab.h"
#include "scripted_prompter.h"
#include "terminals/serial_line.h"

namespace torvek::test {

struct LabWindow : TestPlatform<SystemAdapterInfo> {
  CMainDlg dialog{platform};
};

// Sends a search and waits until modsim has logged it. The lab's one link
// keeps the order, so whatever the window sent before has been logged too.
inline bool SearchBehind(LabWindow& w, const ModSim& sim) {
  const qsizetype before = sim.FramesOf(1).size();
  w.dialog.OnFindDevices();
  return QTest::qWaitFor([&] { return sim.FramesOf(1).size() > before; }, 5000);
}

#define TORVEK_LAB_MAIN(TestClass)          \
  int main(int argc, char** argv) {         \
    torvek::test::RequireLab();             \
    QApplication app(argc, argv);           \
    TestClass test;                         \
    return QTest::qExec(&test, argc, argv); \
  }

}  // namespace torvek::test
