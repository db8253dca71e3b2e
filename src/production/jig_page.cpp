#include "production/jig_page.h"

#include <QLabel>
#include <QPushButton>

#include "ui_jig_page.h"

namespace torvek {

CJigPage::CJigPage(JigSession& session, QWidget* parent)
    : QWidget(parent), session_(session), ui_(std::make_unique<Ui::JigPage>()) {
  ui_->setupUi(this);
  setObjectName("jig_page");
  QHash<int, QWidget*> byId;
  for (QWidget* w : findChildren<QWidget*>()) byId.insert(w->property("controlId").toInt(), w);
  // The row buttons stay as the template has them; their handlers work all
  // the same.
  for (const JigRow& row : kJigRows) {
    results_.insert(row.resultId, qobject_cast<QLabel*>(byId.value(row.resultId)));
    if (auto* button = qobject_cast<QPushButton*>(byId.value(row.buttonId)))
      connect(button, &QPushButton::clicked, this,
              [this, item = row.item] { session_.OnRowTest(item); });
  }
  connect(ui_->allTestButton, &QPushButton::clicked, this, &CJigPage::OnAllTest);
  connect(ui_->clearResultButton, &QPushButton::clicked, this, [this] { SetAllResults({}); });
  connect(ui_->viewResultButton, &QPushButton::clicked, this, &CJigPage::OnViewResult);
  ui_->reportPathLabel->setText(session_.ReportPath());
  session_.SetView(this);
}

CJigPage::~CJigPage() = default;

void CJigPage::SetResult(int resultId, const QString& text) {
  if (QLabel* label = results_.value(resultId)) label->setText(text);
}

void CJigPage::SetAllResults(const QString& text) {
  for (QLabel* label : std::as_const(results_))
    if (label) label->setText(text);
}

void CJigPage::RepaintWindow() { window()->update(); }

}  // namespace torvek
