// The "Ceritification" tab: the operator picks the radio test program for the
// connected module. No program exists yet; the button confirms the choice.
#pragma once

#include <QString>
#include <QWidget>
#include <memory>

namespace Ui {
class RadioTestPage;
}

namespace torvek {

class Prompter;

class CRadioTestPage : public QWidget {
  Q_OBJECT
 public:
  explicit CRadioTestPage(Prompter& prompter, QWidget* parent = nullptr);
  ~CRadioTestPage() override;

  // Checks the radio button `id` and shows its description in box 1023.
  void SelectRadioTest(int id);
  // Button 1068: a box with the description of the current choice.
  void OnStartTest();

  int radioChoice = 0;
  QString radioChoiceText;

 private:
  Prompter& prompter_;
  std::unique_ptr<Ui::RadioTestPage> ui_;
};

}  // namespace torvek
