// Esc in the window: a page leaves it alone, the window's own controls end the
// program. The pages exist only after start-up, which broadcasts: a lab test.
#include <QApplication>
#include <QLineEdit>
#include <QTabWidget>
#include <QtTest/QTest>

#include "admin/config_page.h"
#include "controls/cell_color_list.h"
#include "controls/ip_address_ctrl.h"
#include "system_fixture.h"

using namespace torvek;
using namespace torvek::test;

namespace {

// Esc where the focus is, as a keyboard gives it.
void PressEscapeIn(QWidget* widget) {
  widget->setFocus(Qt::OtherFocusReason);
  QTRY_COMPARE(QApplication::focusWidget(), widget);
  QTest::keyClick(widget, Qt::Key_Escape);
}

// The first control of a page that takes the focus, else the page itself.
QWidget* FocusOf(QWidget* page) {
  for (QWidget* w : page->findChildren<QWidget*>())
    if (w->isVisibleTo(page) && w->isEnabled() && w->focusPolicy() != Qt::NoFocus) return w;
  page->setFocusPolicy(Qt::StrongFocus);
  return page;
}

// The window after its start-up, shown and active, as the operator has it.
bool BringUp(CMainDlg& d) {
  if (!d.OnInitDialog()) return false;
  d.show();
  return QTest::qWaitForWindowActive(&d);
}

}  // namespace

class KeysTest : public QObject {
  Q_OBJECT

 private slots:
  void escapeOnAPageLeavesTheWindowOpen() {
    LabWindow w;
    CMainDlg& d = w.dialog;
    QVERIFY(BringUp(d));

    // An address field of the config page, where the operator types most.
    auto* lanIp = d.configPage->findChild<CIpAddressCtrl*>("lanIp");
    QVERIFY(lanIp);
    QLineEdit* field = lanIp->findChild<QLineEdit*>();
    QVERIFY(field);
    PressEscapeIn(field);
    QVERIFY(d.isVisible());

    auto* tabs = d.findChild<QTabWidget*>();
    for (int tab = 0; tab < tabs->count(); ++tab) {
      tabs->setCurrentIndex(tab);
      PressEscapeIn(FocusOf(tabs->widget(tab)));
      QVERIFY2(d.isVisible(), qPrintable(tabs->tabText(tab)));
    }
    QVERIFY(w.prompter.boxes.isEmpty());
  }

  void escapeOnTheModuleListEndsTheProgram() {
    LabWindow w;
    CMainDlg& d = w.dialog;
    QVERIFY(BringUp(d));
    PressEscapeIn(&d.ModuleList());
    QVERIFY(!d.isVisible());
    QCOMPARE(d.result(), int(QDialog::Rejected));
  }
};

TORVEK_LAB_MAIN(KeysTest)
#include "keys_test.moc"
