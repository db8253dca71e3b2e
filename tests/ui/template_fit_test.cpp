// Every fixed text of every template fits the place its template gives it, in
// the font the program picks: a clipped label or button is a layout fault.
#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QTabBar>
#include <QTabWidget>
#include <QToolButton>
#include <QtTest/QTest>

#include "admin/config_page.h"
#include "admin/operation_dialogs.h"
#include "app/main_dialog.h"
#include "controls/cell_table.h"
#include "platform/template_font.h"
#include "production/jig_page.h"
#include "production/mac_setup_dialog.h"
#include "production/mac_writer_page.h"
#include "production/radio_test_page.h"
#include "scripted_prompter.h"
#include "terminals/console_page.h"
#include "terminals/network_page.h"
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
    CConfigPage config(main.ConfigPageLinks());
    CConsolePage console({platform, main.serialLine(), main.startUp, main});
    NetworkSession session(platform, main.modules());
    CNetworkPage network(session);
    // The connect button's longest text, while connected, fits as well.
    CNetworkPage connected(session);
    connected.findChild<QPushButton*>("connectButton")->setText("Remote Dis-Connect");
    CHowManyDlg howMany;
    CCompanyIdDlg companyId;
    CSystemDataDlg systemData(prompter, main.modules());
    CSerialSetupDlg serialSetup(SerialConfig{}, dir.path() + "/");
    CMacWriterPage macWriter(
        {platform, dir.path() + "/", main.link().pcMac, main.modules(), main.link()});
    macWriter.OnInitDialog();
    MacCounter counter;
    CMacSetupDlg macSetup(counter);
    CRadioTestPage radioTest(prompter);
    ModuleDirectory noModules;
    JigSession jigSession({platform, noModules, main.link()});
    CJigPage jig(jigSession);
    QStringList clipped;
    for (QWidget* w :
         std::initializer_list<QWidget*>{&main, &config, &console, &network, &connected, &howMany,
                                         &companyId, &systemData, &serialSetup, &macWriter,
                                         &macSetup, &radioTest, &jig}) {
      w->ensurePolished();
      for (const QString& text : Clipped(*w))
        clipped << w->metaObject()->className() + QString(": ") + text;
    }
    QVERIFY2(clipped.isEmpty(), qPrintable(clipped.join("\n")));
  }

  // The seven page titles show whole at once in the window's tab bar, at the
  // window's fixed size: no scroll arrows, no title cut.
  void everyPageTitleFitsTheTabBar() {
    CMainDlg main(platform);
    auto* tabs = main.findChild<QTabWidget*>();
    QVERIFY(tabs);
    // The pages themselves come with start-up; their titles are what count here.
    const QSignalBlocker quiet(tabs);
    for (const char* title :
         {"IP ", "Network", "Console", "Upgrader", "Mac Writer", "Ceritification", "Jig_tool"})
      tabs->addTab(new QWidget, title);
    main.show();
    QVERIFY(QTest::qWaitForWindowExposed(&main));
    QTabBar* bar = tabs->tabBar();
    QStringList faults;
    for (int i = 0; i < bar->count(); ++i) {
      const QRect tab = bar->tabRect(i);
      const int needed = bar->fontMetrics().horizontalAdvance(bar->tabText(i));
      if (!bar->rect().contains(tab) || tab.right() >= tabs->width())
        faults << QString("%1: tab %2,%3 outside the bar (width %4)")
                      .arg(bar->tabText(i))
                      .arg(tab.left())
                      .arg(tab.right())
                      .arg(tabs->width());
      // A title keeps a few pixels of the tab's frame on either side.
      if (needed + 4 > tab.width())
        faults << QString("%1: text %2 + 4 > tab %3")
                      .arg(bar->tabText(i))
                      .arg(needed)
                      .arg(tab.width());
    }
    for (QToolButton* arrow : bar->findChildren<QToolButton*>())
      if (arrow->isVisible()) faults << "scroll arrow shown";
    QVERIFY2(faults.isEmpty(), qPrintable(faults.join("\n")));
  }
};

QTEST_MAIN(TemplateFitTest)
#include "template_fit_test.moc"
