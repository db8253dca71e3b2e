// Message boxes, questions, file pickers and modal dialogs: everything that
// waits for the operator goes through here, so that tests can script it.
#pragma once

#include <QString>
#include <QStringList>

class QDialog;
class QWidget;

namespace torvek {

class Prompter {
 public:
  virtual ~Prompter() = default;
  // A modal box with an OK button. An empty title means the program's name.
  virtual void Message(const QString& text, const QString& title = {}) = 0;
  // A Yes/No question; true only for Yes.
  virtual bool AskYesNo(const QString& text, const QString& title = {}) = 0;
  // Empty when the operator cancels.
  // `directory` is where the dialog starts; empty is the working directory.
  virtual QString OpenFileName(const QString& caption, const QString& filter,
                               const QString& directory = {}) = 0;
  virtual QString SaveFileName(const QString& caption, const QString& suggestedName,
                               const QString& filter) = 0;
  // Runs a dialog modally and gives its result (QDialog::Accepted or Rejected).
  virtual int RunDialog(QDialog& dialog) = 0;
};

class QtPrompter : public Prompter {
 public:
  // Boxes are centred over `parent` when it is set and visible.
  void SetParent(QWidget* parent) { parent_ = parent; }
  void Message(const QString& text, const QString& title) override;
  bool AskYesNo(const QString& text, const QString& title = {}) override;
  QString OpenFileName(const QString& caption, const QString& filter,
                       const QString& directory = {}) override;
  QString SaveFileName(const QString& caption, const QString& suggestedName,
                       const QString& filter) override;
  int RunDialog(QDialog& dialog) override;

 private:
  QWidget* Owner() const;
  QWidget* parent_ = nullptr;
};

}  // namespace torvek
