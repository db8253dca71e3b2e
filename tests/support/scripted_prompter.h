// A Prompter for tests: every box is recorded in order, every question is
// answered from a queue, every file dialog named from a queue. A box that is
// not the next one the test expects, a question with no answer queued and a
// file dialog with no name queued each fail the running test at once, naming
// the box; they are recorded all the same, so the test's own checks still run.
#pragma once

#include <QDialog>
#include <QList>
#include <QPair>
#include <QQueue>
#include <QStringList>
#include <QTemporaryDir>
#include <QtTest/QTest>
#include <functional>

#include "platform/platform.h"

namespace torvek::test {

class ScriptedPrompter : public Prompter {
 public:
  struct Box {
    QString text;
    QString title;
  };
  QList<Box> boxes;
  // Yes/No answers, and the names file dialogs give (empty: cancelled).
  QQueue<bool> answers;
  QQueue<QString> fileNames;
  // Called with each dialog run modally; gives its result.
  std::function<int(QDialog&)> onDialog = [](QDialog&) { return int(QDialog::Rejected); };
  QStringList questions;
  QStringList questionTitles;
  // Where each file-open dialog started.
  QStringList openDirectories;
  // Called with each question before it is answered, as the operator who
  // clicks about the window while a box is open.
  std::function<void(const QString&)> onQuestion;
  // Boxes, questions and file dialogs that failed the test.
  int unexpected = 0;

  // The texts of the boxes the test expects next, in the order they show.
  void Expect(const QStringList& texts) { expected_.append(texts); }
  // Expected boxes that have not shown yet.
  QStringList Pending() const { return expected_; }

  void Message(const QString& text, const QString& title) override {
    boxes.append({text, title});
    if (!expected_.isEmpty() && expected_.first() == text) {
      expected_.removeFirst();
      return;
    }
    Fail(QStringLiteral("box \"%1\" (title \"%2\"); %3")
             .arg(text, title,
                  expected_.isEmpty() ? QStringLiteral("no box expected")
                                      : QStringLiteral("expected \"%1\"").arg(expected_.first())));
  }
  bool AskYesNo(const QString& text, const QString& title = {}) override {
    questions.append(text);
    questionTitles.append(title);
    if (onQuestion) onQuestion(text);
    if (answers.isEmpty()) {
      Fail(QStringLiteral("question \"%1\" (title \"%2\"); no answer queued").arg(text, title));
      return false;
    }
    return answers.dequeue();
  }
  QString OpenFileName(const QString& caption, const QString&,
                       const QString& directory = {}) override {
    openDirectories.append(directory);
    return NextName(caption);
  }
  QString SaveFileName(const QString& caption, const QString&, const QString&) override {
    return NextName(caption);
  }
  int RunDialog(QDialog& dialog) override { return onDialog(dialog); }

  QStringList Texts() const {
    QStringList out;
    for (const Box& b : boxes) out << b.text;
    return out;
  }

 private:
  QStringList expected_;

  QString NextName(const QString& caption) {
    if (fileNames.isEmpty()) {
      Fail(QStringLiteral("file dialog \"%1\"; no name queued").arg(caption));
      return {};
    }
    return fileNames.dequeue();
  }
  void Fail(const QString& what) {
    ++unexpected;
    QTest::qFail(qPrintable("Unexpected " + what), __FILE__, __LINE__);
  }
};

class RecordingLauncher : public ProgramLauncher {
 public:
  QList<QStringList> started;
  bool StartInTerminal(const QStringList& command) override {
    started.append(QStringList{"terminal"} + command);
    return true;
  }
  bool StartHidden(const QString& program, const QStringList& arguments) override {
    started.append(QStringList{"hidden", program} + arguments);
    return true;
  }
  bool StartProgram(const QString& path, const QStringList& arguments) override {
    started.append(QStringList{"program", path} + arguments);
    return true;
  }
  bool OpenFile(const QString& path) override {
    started.append({"open", path});
    return true;
  }
  bool OpenUrl(const QUrl& url) override {
    started.append({"url", url.toString()});
    return true;
  }
};

class CountingBeeper : public Beeper {
 public:
  int beeps = 0;
  int warnings = 0;  // of the beeps, those of the warning kind
  void MessageBeep(unsigned type) override {
    ++beeps;
    if (type == 0x30) ++warnings;
  }
};

class FixedAdapters : public AdapterInfo {
 public:
  QList<Adapter> list;
  QList<Adapter> Adapters() override { return list; }
};

class TempPaths : public AppPaths {
 public:
  explicit TempPaths(const QString& dir) : dir_(dir.endsWith('/') ? dir : dir + '/') {}
  QString ProgramFile() override { return QCoreApplication::applicationFilePath(); }
  QString ProgramDir() override { return dir_; }
  QString WorkingDir() override { return dir_; }

 private:
  QString dir_;
};

// What a window needs around it in a test: scripted boxes, a recording
// launcher, the given adapters and a temporary program folder.
template <typename Adapters>
struct TestPlatform {
  QTemporaryDir dir;
  ScriptedPrompter prompter;
  RecordingLauncher launcher;
  CountingBeeper beeper;
  SystemClock clock;
  Adapters adapters;
  TempPaths paths{dir.path()};
  Platform platform{prompter, launcher, beeper, clock, adapters, paths};
};

// Off the network: no adapters unless a test gives some.
using OfflinePlatform = TestPlatform<FixedAdapters>;

}  // namespace torvek::test
