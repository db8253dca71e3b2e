// The tool's main window writing MACs in manual mode to whatever module the
// list shows, as fast as the answers come, until it is killed. The crash test
// kills it at random moments; its program folder is the one given, so that
// every run finds the counter the killed one left.
#include <QApplication>
#include <QFile>
#include <QtTest/QTest>
#include <cstdio>

#include "app/main_dialog.h"
#include "controls/cell_color_list.h"
#include "controls/status_label.h"
#include "lab.h"
#include "platform/platform.h"
#include "production/mac_writer_page.h"
#include "scripted_prompter.h"

using namespace torvek;
using namespace torvek::test;

namespace {

// Boxes go to the output instead of waiting for an operator.
class PrintingPrompter : public Prompter {
 public:
  void Message(const QString& text, const QString&) override {
    std::fprintf(stderr, "box: %s\n", qPrintable(text));
  }
  bool AskYesNo(const QString&, const QString&) override { return false; }
  QString OpenFileName(const QString&, const QString&, const QString&) override { return {}; }
  QString SaveFileName(const QString&, const QString&, const QString&) override { return {}; }
  int RunDialog(QDialog&) override { return 0; }
};

}  // namespace

int main(int argc, char** argv) {
  RequireLab();
  if (argc != 2) {
    std::fprintf(stderr, "usage: mac_crash_writer PROGRAM_DIR\n");
    return 2;
  }
  QApplication app(argc, argv);
  PrintingPrompter prompter;
  RecordingLauncher launcher;
  CountingBeeper beeper;
  SystemClock clock;
  SystemAdapterInfo adapters;
  TempPaths paths(QString::fromLocal8Bit(argv[1]));
  Platform platform{prompter, launcher, beeper, clock, adapters, paths};
  // What the last run left, to tell whether this start stepped past a write
  // that was out when it was killed.
  QFile saved(paths.ProgramDir() + "mac_data_file.txt");
  const QByteArray before = saved.open(QIODevice::ReadOnly) ? saved.readAll() : QByteArray();
  saved.close();
  CMainDlg dialog(platform);
  dialog.OnInitDialog();
  CMacWriterPage& page = *dialog.macWriterPage;
  if (saved.open(QIODevice::ReadOnly) && saved.readAll() != before)
    std::printf("stepped past a write in flight\n"), std::fflush(stdout);
  const QString written = "Success Mac Writing (system is rebooting)";
  for (int writes = 0;; ++writes) {
    if (!QTest::qWaitFor([&] { return dialog.ModuleList().RowCount() > 0; }, 3000)) {
      // The module may have missed a search while it rebooted.
      dialog.OnFindDevices();
      continue;
    }
    dialog.SelectRow(0);
    page.statusLabel().SetText({});
    page.OnMacWrite();
    if (QTest::qWaitFor([&] { return page.statusLabel().text() == written; }, 3000))
      std::printf("write %d\n", writes), std::fflush(stdout);
  }
}
