#include "platform/prompter.h"

#include <QApplication>
#include <QDialog>
#include <QFileDialog>
#include <QMessageBox>

namespace torvek {

QWidget* QtPrompter::Owner() const { return parent_ && parent_->isVisible() ? parent_ : nullptr; }

void QtPrompter::Message(const QString& text, const QString& title) {
  QMessageBox box(QMessageBox::NoIcon, title.isEmpty() ? QApplication::applicationName() : title,
                  text, QMessageBox::Ok, Owner());
  box.setAccessibleName(title.isEmpty() ? QApplication::applicationName() : title);
  box.setAccessibleDescription(text);
  box.exec();
}

bool QtPrompter::AskYesNo(const QString& text, const QString& title) {
  QMessageBox box(QMessageBox::Question, title.isEmpty() ? QApplication::applicationName() : title,
                  text, QMessageBox::Yes | QMessageBox::No, Owner());
  box.setAccessibleDescription(text);
  return box.exec() == QMessageBox::Yes;
}

QString QtPrompter::OpenFileName(const QString& caption, const QString& filter,
                                 const QString& directory) {
  return QFileDialog::getOpenFileName(Owner(), caption, directory, filter);
}

QString QtPrompter::SaveFileName(const QString& caption, const QString& suggestedName,
                                 const QString& filter) {
  return QFileDialog::getSaveFileName(Owner(), caption, suggestedName, filter);
}

int QtPrompter::RunDialog(QDialog& dialog) { return dialog.exec(); }

}  // namespace torvek
