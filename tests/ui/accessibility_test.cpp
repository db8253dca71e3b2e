// What a screen reader, or any outside driver, gets through Qt's
// accessibility interface: a label reads as what it shows, every edit and
// combo has a caption, and a choice made through an accessible action or the
// keyboard does what a click does.
#include <QAbstractSpinBox>
#include <QAccessible>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTextEdit>
#include <QtTest/QTest>

#include "admin/config_page.h"
#include "admin/operation_dialogs.h"
#include "app/about_box.h"
#include "app/main_dialog.h"
#include "control_by_id.h"
#include "controls/cell_table.h"
#include "controls/ip_address_ctrl.h"
#include "controls/status_label.h"
#include "platform/template_font.h"
#include "production/jig_page.h"
#include "production/mac_setup_dialog.h"
#include "production/mac_writer_page.h"
#include "production/radio_test_page.h"
#include "scripted_prompter.h"
#include "terminals/console_host.h"
#include "terminals/console_page.h"
#include "terminals/network_page.h"
#include "terminals/serial_line.h"
#include "terminals/serial_setup_dialog.h"
#include "ui_about_dialog.h"
#include "upgrade/upgrader_page.h"

using namespace torvek;
using torvek::test::ById;

namespace {

QAccessibleInterface* Accessible(QWidget* w) { return QAccessible::queryAccessibleInterface(w); }

// The text a label puts on the screen, as a reader would say it.
QString Shown(QLabel* label) {
  QString text = label->text();
  if (label->buddy()) text.remove('&');
  return text;
}

bool IsEdit(QWidget* w) {
  // The inner edit of a combo, a spin box or an address field belongs to its owner.
  QWidget* parent = w->parentWidget();
  if (qobject_cast<QLineEdit*>(w))
    return !qobject_cast<QComboBox*>(parent) && !qobject_cast<QAbstractSpinBox*>(parent) &&
           !qobject_cast<CIpAddressCtrl*>(parent);
  return qobject_cast<QComboBox*>(w) || qobject_cast<QAbstractSpinBox*>(w) ||
         qobject_cast<QPlainTextEdit*>(w) || qobject_cast<QTextEdit*>(w) ||
         qobject_cast<CIpAddressCtrl*>(w);
}

QStringList Faults(QWidget& root) {
  QStringList out;
  const QString where = root.metaObject()->className() + QString(" ");
  for (QLabel* label : root.findChildren<QLabel*>()) {
    if (!label->pixmap().isNull() || qobject_cast<CIpAddressCtrl*>(label->parentWidget())) continue;
    const QString name = Accessible(label)->text(QAccessible::Name);
    // An empty value reads as its caption, as the reader would say the pair.
    const auto captions = Accessible(label)->relations(QAccessible::Label);
    const bool readsCaption = label->text().isEmpty() && !captions.isEmpty() &&
                              name == captions.first().first->text(QAccessible::Name);
    if (name != Shown(label) && !readsCaption)
      out << where + label->objectName() +
                 QString(": reads \"%1\", shows \"%2\"").arg(name, Shown(label));
  }
  for (QWidget* w : root.findChildren<QWidget*>()) {
    if (!IsEdit(w)) continue;
    QAccessibleInterface* iface = Accessible(w);
    const bool captioned = !iface->relations(QAccessible::Label).isEmpty();
    if (!captioned && w->accessibleName().isEmpty())
      out << where + w->objectName() + ": no caption";
    else if (iface->text(QAccessible::Name).isEmpty())
      out << where + w->objectName() + ": caption without a name";
  }
  return out;
}

// Triggers one of the actions the accessibility interface offers.
bool DoAction(QWidget* w, const QString& action) {
  QAccessibleActionInterface* actions = Accessible(w)->actionInterface();
  if (!actions || !actions->actionNames().contains(action)) return false;
  actions->doAction(action);
  return true;
}

struct UpgraderRig : ConsoleHost, test::OfflinePlatform {
  StartUpValues program;
  SerialLine line{platform, program};
  CUpgraderPage page{{platform, line, program, *this}};
  bool LoadCommandList(const QString&) override { return true; }
  int NextCommandRow(int& count, int& row) override { return count = row = 0; }
  void PostSerialSwitch(int) override {}
};

// A Mac Writer page with a selected module and a record of what it sent.
struct MacWriterRig : test::OfflinePlatform, SearchingSender {
  struct {
    QString programDir;
    MacAddress pcMac{};
  } program;
  ModuleDirectory selection;
  QList<QByteArray> sent;
  std::unique_ptr<CMacWriterPage> page;

  MacWriterRig() {
    program.programDir = dir.path() + "/";
    program.pcMac = {0x02, 0x77, 0x00, 0x00, 0x00, 0x01};
    selection.selectedRow = 0;
    selection.selectedModuleMac = {0x00, 0x0E, 0xE3, 0x00, 0x00, 0x01};
    selection.selectedModuleType = "740:ap";
    page = std::make_unique<CMacWriterPage>(
        MacWriterLinks{platform, program.programDir, program.pcMac, selection, *this});
    page->OnInitDialog();
  }
  bool SendFrameAndSearch(std::uint8_t* frame) override {
    sent << QByteArray(reinterpret_cast<const char*>(frame), 1225);
    return true;
  }
  void StartSearch() override {}
  // Scans a code into the boxes and presses Mac Write; the new address sent.
  QString ScanAndWrite() {
    auto* mac = ById<QLineEdit>(*page, 1008);
    auto* serial = ById<QLineEdit>(*page, 1009);
    mac->setFocus();
    QTest::keyClicks(mac, "0050AbCDef01");
    QTest::keyClicks(serial, "SN12345678901");
    ById<QPushButton>(*page, 1000)->click();
    return sent.isEmpty() ? QString() : QString(sent.last().mid(23, 6).toHex());
  }
};

}  // namespace

class AccessibilityTest : public QObject, test::OfflinePlatform {
  Q_OBJECT

 private slots:
  void initTestCase() {
    QApplication::setFont(TemplateFont(QApplication::font()));
    QAccessible::setActive(true);
  }

  void everyLabelReadsAsShownAndEveryEditHasACaption() {
    CMainDlg main(platform);
    CConfigPage config(main.ConfigPageLinks());
    CConsolePage console({platform, main.serialLine(), main.startUp, main});
    NetworkSession session(platform, main.modules());
    CNetworkPage network(session);
    UpgraderRig upgrader;
    MacWriterRig macWriter;
    MacCounter counter;
    CMacSetupDlg macSetup(counter);
    CRadioTestPage radioTest(prompter);
    ModuleDirectory noModules;
    JigSession jigSession({platform, noModules, main.link()});
    CJigPage jig(jigSession);
    CHowManyDlg howMany;
    CCompanyIdDlg companyId;
    CGetOperationDlg getOperation;
    CSystemDataDlg systemData(prompter, main.modules());
    CSerialSetupDlg serialSetup(SerialConfig{}, dir.path() + "/");
    QDialog about;
    Ui::AboutDialog aboutUi;
    aboutUi.setupUi(&about);
    aboutUi.iconLabel->setPixmap(TorvekIcon().pixmap(32));

    // Values as a run shows them: a reader must hear them, not a fixed name.
    config.SetOperationStatus("Sending configuration data");
    macWriter.page->ReportStatus(102);
    QStringList faults;
    for (QWidget* w :
         std::initializer_list<QWidget*>{&main, &config, &console, &network, &upgrader.page,
                                         macWriter.page.get(), &macSetup, &radioTest, &jig,
                                         &howMany, &companyId, &getOperation, &systemData,
                                         &serialSetup, &about})
      faults << Faults(*w);
    QVERIFY2(faults.isEmpty(), qPrintable(faults.join("\n")));

    // A value is named by its caption, and a change of it is heard.
    auto* status = ById<CStatusLabel>(*macWriter.page, 1006);
    QCOMPARE(Accessible(status)->text(QAccessible::Name), status->text());
    QStringList captions;
    for (const auto& relation : Accessible(status)->relations(QAccessible::Label))
      captions << relation.first->text(QAccessible::Name);
    QVERIFY2(captions.contains("Operation Status:"), qPrintable(captions.join(", ")));
    for (auto* dialog :
         std::initializer_list<QWidget*>{&howMany, &companyId, &getOperation, &systemData})
      for (QComboBox* combo : dialog->findChildren<QComboBox*>())
        QVERIFY2(!Accessible(combo)->relations(QAccessible::Label).isEmpty(),
                 qPrintable(combo->objectName()));
  }

  // The Barcode Reader mode, however it is chosen, makes the next write send
  // the scanned address; Manual mode the counter's.
  void theWriteModeFollowsTheCheckedButton() {
    {
      MacWriterRig rig;
      auto* barcode = ById<QRadioButton>(*rig.page, 1003);
      QVERIFY(DoAction(barcode, QAccessibleActionInterface::pressAction()) ||
              DoAction(barcode, QAccessibleActionInterface::toggleAction()));
      QTRY_VERIFY(barcode->isChecked());
      QCOMPARE(rig.page->writeMode, 0);
      QCOMPARE(rig.ScanAndWrite(), QString("0050abcdef01"));
    }
    {
      MacWriterRig rig;
      rig.page->show();
      QApplication::setActiveWindow(rig.page.get());
      QVERIFY(QTest::qWaitForWindowActive(rig.page.get()));
      auto* manual = ById<QRadioButton>(*rig.page, 1007);
      manual->setFocus();
      // The arrow keys move the choice within the group.
      QTest::keyClick(manual, Qt::Key_Left);
      QVERIFY(ById<QRadioButton>(*rig.page, 1003)->isChecked());
      QCOMPARE(rig.page->writeMode, 0);
      QCOMPARE(rig.ScanAndWrite(), QString("0050abcdef01"));
      // Back to manual by the keyboard: the boxes close and the counter writes.
      ById<QRadioButton>(*rig.page, 1003)->setFocus();
      QTest::keyClick(ById<QRadioButton>(*rig.page, 1003), Qt::Key_Right);
      QVERIFY(manual->isChecked());
      QCOMPARE(rig.page->writeMode, 1);
      QVERIFY(!ById(*rig.page, 1008)->isEnabled());
    }
  }

  void radioTestAndUseLanIpFollowTheirCheckedState() {
    CRadioTestPage page(prompter);
    const QString first = page.findChild<QPlainTextEdit*>()->toPlainText();
    QRadioButton* other = nullptr;
    for (QRadioButton* radio : page.findChildren<QRadioButton*>())
      if (!radio->isChecked()) other = radio;
    QVERIFY(other);
    QVERIFY(DoAction(other, QAccessibleActionInterface::toggleAction()) ||
            DoAction(other, QAccessibleActionInterface::pressAction()));
    QTRY_VERIFY(other->isChecked());
    QCOMPARE(page.radioChoice, other->property("controlId").toInt());
    QVERIFY(page.findChild<QPlainTextEdit*>()->toPlainText() != first);

    CMainDlg main(platform);
    auto* useLanIp = ById<QCheckBox>(main, 1046);
    QCOMPARE(main.modules().useLanIp, 1);
    QVERIFY(DoAction(useLanIp, QAccessibleActionInterface::toggleAction()) ||
            DoAction(useLanIp, QAccessibleActionInterface::pressAction()));
    QTRY_COMPARE(main.modules().useLanIp, 0);
    useLanIp->setChecked(true);
    QCOMPARE(main.modules().useLanIp, 1);
  }
};

QTEST_MAIN(AccessibilityTest)
#include "accessibility_test.moc"
