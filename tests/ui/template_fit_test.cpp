// Every fixed text of every template fits the place its template gives it, in
// the font the program picks: a clipped label or button is a layout fault.
#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QLabel>
#include <QRadioButton>
#include <QtTest/QTest>

#include "admin/config_page.h"
#include "admin/operation_dialogs.h"
#include "core/main_dialog.h"
#include "platform/template_font.h"
#include "scripted_prompter.h"
#include "terminals/console_page.h"
#include "terminals/serial_setup_dialog.h"

using namespace torvek;

namespace {

// Texts that do not fit, as "object: text (needed > given)".
QStringList Clipped(QWidget& root) {
  QStringList out;
  const auto check = [&out](QWidget* w, const QString& text, int needed, int given) {
    if (!text.isEmpty() && needed > given)
      out << QString("%1: %2 (%3 > %4)").arg(w->objectName(), text).arg(needed).arg(given);
  };
  for (QLabel* label : root.findChildren<QLabel*>()) {
    if (label->wordWrap() || !label->isVisibleTo(&root)) continue;
    const QString text = label->text();
    check(label, text, label->fontMetrics().horizontalAdvance(text), label->contentsRect().width());
  }
  for (QAbstractButton* button : root.findChildren<QAbstractButton*>()) {
    // Hidden buttons, and the 2-pixel OK/Cancel stand-ins of a page, show nothing.
    if (!button->isVisibleTo(&root) || button->width() <= 2) continue;
    const QString text = QString(button->text()).remove('&');
    const int needed = button->fontMetrics().horizontalAdvance(text);
    // A push button keeps a few pixels of frame; a check or radio box its indicator.
    const bool box = qobject_cast<QCheckBox*>(button) || qobject_cast<QRadioButton*>(button);
    check(button, text, needed + (box ? 20 : 6), button->width());
  }
  return out;
}

}  // namespace

class TemplateFitTest : public QObject, test::OfflinePlatform {
  Q_OBJECT

 private slots:
  void initTestCase() {
    QApplication::setFont(TemplateFont(QApplication::font()));
    QVERIFY2(DialogBaseWidth(QApplication::font()) <= 6,
             qPrintable(QApplication::font().toString()));
  }

  void everyTemplateKeepsItsTextsWhole() {
    CMainDlg main(platform);
    CConfigPage config(main);
    CConsolePage console({platform, main.serialLine(), main, main, main});
    CHowManyDlg howMany;
    CCompanyIdDlg companyId;
    CSystemDataDlg systemData(main);
    CSerialSetupDlg serialSetup(SerialConfig{}, dir.path() + "/");
    QStringList clipped;
    for (QWidget* w : std::initializer_list<QWidget*>{&main, &config, &console, &howMany,
                                                      &companyId, &systemData, &serialSetup}) {
      w->ensurePolished();
      for (const QString& text : Clipped(*w))
        clipped << w->metaObject()->className() + QString(": ") + text;
    }
    QVERIFY2(clipped.isEmpty(), qPrintable(clipped.join("\n")));
  }
};

QTEST_MAIN(TemplateFitTest)
#include "template_fit_test.moc"
