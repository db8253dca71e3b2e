#include "production/radio_test_page.h"

#include <QRadioButton>

#include "core/latin1_text.h"
#include "platform/prompter.h"
#include "production/radio_choices.h"
#include "ui_radio_test_page.h"

namespace torvek {

CRadioTestPage::CRadioTestPage(Prompter& prompter, QWidget* parent)
    : QWidget(parent), prompter_(prompter), ui_(std::make_unique<Ui::RadioTestPage>()) {
  ui_->setupUi(this);
  setObjectName("radio_test_page");
  for (QRadioButton* radio : findChildren<QRadioButton*>()) {
    const int id = radio->property("controlId").toInt();
    // A click on the checked choice shows it again, as any way of checking one does.
    connect(radio, &QRadioButton::clicked, this, [this, id] { SelectRadioTest(id); });
    connect(radio, &QRadioButton::toggled, this, [this, id](bool checked) {
      if (checked) SelectRadioTest(id);
    });
  }
  connect(ui_->startTestButton, &QPushButton::clicked, this, &CRadioTestPage::OnStartTest);
  SelectRadioTest(kFirstRadioChoice);
}

CRadioTestPage::~CRadioTestPage() = default;

void CRadioTestPage::SelectRadioTest(int id) {
  const std::string_view description = RadioChoiceDescription(id);
  if (description.empty()) return;
  for (QRadioButton* radio : findChildren<QRadioButton*>())
    if (radio->property("controlId").toInt() == id) radio->setChecked(true);
  radioChoice = id;
  radioChoiceText = Latin1Text(description);
  ui_->choiceBox->setPlainText(radioChoiceText);
}

void CRadioTestPage::OnStartTest() {
  const std::string_view description = RadioChoiceDescription(radioChoice);
  prompter_.Message(Latin1Text(description));
}

}  // namespace torvek
