// Every fixed text of every template fits the place its template gives it, in
// the font the program picks: a clipped label or button is a layout fault.
#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QStyle>
#include <QTabBar>
#include <QTabWidget>
#include <QToolButton>
#include <QtTest/QTest>

#include "admin/config_page.h"
#include "admin/operation_dialogs.h"
#include "app/main_dialog.h"
#include "controls/cell_table.h"
#include "controls/ip_address_ctrl.h"
#include "controls/status_label.h"
#include "platform/template_font.h"
#include "production/jig_page.h"
#include "production/mac_setup_dialog.h"
#include "production/mac_writer_page.h"
#include "production/radio_test_page.h"
#include "scripted_prompter.h"
#include "terminals/console_page.h"
#include "terminals/network_page.h"
#include "terminals/serial_line.h"
#include "terminals/serial_setup_dialog.h"
#include "upgrade/upgrader_page.h"

using namespace torvek;

namespace {

// Texts that do not fit, as "object: text (needed > given)".
QStringList Clipped(QWidget& root) {
  QStringList out;
  const auto check = [&out](QWidget* w, const QString& text, int needed, int given) {
    if (!text.isEmpty() && needed > given)
      out << QString("%1: %2 (%3 > %4)").arg(w->objectName(), text).arg(needed).arg(given);
  };
  // A control that lies over a label's text hides it as surely as a short label.
  const auto covered = [&out](QLabel* label, const QSize& needed) {
    QWidget* parent = label->parentWidget();
    const QRect text =
        QStyle::alignedRect(Qt::LeftToRight, label->alignment(), needed, label->contentsRect())
            .translated(label->pos());
    for (QWidget* sibling : parent->findChildren<QWidget*>(Qt::FindDirectChildrenOnly)) {
      const bool control = qobject_cast<QAbstractButton*>(sibling) ||
                           qobject_cast<QComboBox*>(sibling) || qobject_cast<QLineEdit*>(sibling);
      if (control && sibling->isVisibleTo(parent) && sibling->width() > 2 &&
          sibling->geometry().intersects(text))
        out << QString("%1: %2 under %3")
                   .arg(label->objectName(), label->text(), sibling->objectName());
    }
  };
  for (QLabel* label : root.findChildren<QLabel*>()) {
    if (!label->isVisibleTo(&root)) continue;
    const QString text = label->text();
    // The dots of an address control sit in its own layout.
    if (!text.isEmpty() && !qobject_cast<CIpAddressCtrl*>(label->parentWidget())) {
      const QRect box = label->contentsRect();
      const int flags =
          label->wordWrap() || qobject_cast<CStatusLabel*>(label) ? Qt::TextWordWrap : 0;
      covered(label, label->fontMetrics()
                         .boundingRect(QRect(0, 0, box.width(), 10000), flags, text)
                         .size()
                         .boundedTo(box.size()));
    }
    // A self-drawing status label wraps its text as a wrapped label does.
    if (label->wordWrap() || qobject_cast<CStatusLabel*>(label)) {
      const QRect box = label->contentsRect();
      const QRect needed = label->fontMetrics().boundingRect(QRect(0, 0, box.width(), 10000),
                                                             Qt::TextWordWrap, text);
      check(label, text, needed.width(), box.width());
      check(label, text + " (height)", needed.height(), box.height());
      continue;
    }
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

  // Every label that shows a value keeps the longest text it can be given
  // whole, at the template's size. With TORVEK_SHOT_DIR set, each page and
  // dialog is also saved there as a picture to look at.
  void valueLabelsKeepTheirLongestTextsWhole() {
    CMainDlg main(platform);
    CConfigPage config(main.ConfigPageLinks());
    CMacWriterPage macWriter(
        {platform, dir.path() + "/", main.link().pcMac, main.modules(), main.link()});
    macWriter.OnInitDialog();
    ModuleDirectory noModules;
    JigSession jigSession({platform, noModules, main.link()});
    CJigPage jig(jigSession);
    struct Host : ConsoleHost {
      bool LoadCommandList(const QString&) override { return true; }
      int NextCommandRow(int& count, int& row) override { return count = row = 0; }
      void PostSerialSwitch(int) override {}
    } host;
    StartUpValues program;
    SerialLine line{platform, program};
    CUpgraderPage upgrader{{platform, line, program, host}};
    // A COM link beside the program shows its own path, the longest a device gets.
    const QString longDir = dir.path() + "/home/operator/.local/share/Torvek/";
    QDir().mkpath(longDir);
    QFile::link("/dev/ttyUSB0", longDir + "COM1");
    CSerialSetupDlg serialSetup(SerialConfig{}, longDir);

    const QString mac = "00-0E-E3-FF-FF-FF";
    const QString address = "255.255.255.255";
    const QList<std::pair<QWidget*, QList<std::pair<const char*, QString>>>> values = {
        {&config,
         {{"operationStatus", "Error : config file size error, try again"},
          {"operationFile", "Company Logo File"},
          {"moduleMac", mac},
          {"wanMac", mac},
          {"pcIpLabel", address},
          {"pcMaskLabel", address},
          {"pcGatewayLabel", address},
          {"pcMacLabel", mac}}},
        {&macWriter,
         {{"statusLabel", "IP can not be changed because DHCP Server enable status"},
          {"companyIdLabel", "FF-FF-FF"},
          {"macIdLabel", "FF-FF-FF"},
          {"writtenMacLabel", "0050abcdef01"},
          {"writtenSerialLabel", "SN12345678901"},
          {"currentWifiMacLabel", mac}}},
        {&jig,
         {{"reportPathLabel", "/home/operator/.local/share/Torvek/halvorn_3g_test.txt"},
          {"usbResult", "usb Fail"},
          {"port5Result", "port5 GOOD"},
          {"serial2Result", "Serial Port #2 Fail"}}},
        {&upgrader,
         {{"hostIpLabel", address},
          {"moduleIpLabel", address},
          {"statusLabel", "In Process : ----------> Waitint...-"},
          {"webPageRow", "Flash writing is well done."}}},
        {&serialSetup, {}},
    };
    QStringList clipped;
    const QString shots = qEnvironmentVariable("TORVEK_SHOT_DIR");
    for (const auto& [root, texts] : values) {
      for (const auto& [name, text] : texts) {
        auto* label = root->findChild<QLabel*>(name);
        QVERIFY2(label, name);
        label->setText(text);
      }
      // The Mac Writer's status also as a write ends.
      root->ensurePolished();
      for (const QString& text : Clipped(*root))
        clipped << root->metaObject()->className() + QString(": ") + text;
      if (!shots.isEmpty())
        root->grab().save(shots + "/" + root->metaObject()->className() + ".png");
    }
    auto* status = macWriter.findChild<CStatusLabel*>("statusLabel");
    status->setText("Success Mac Writing (system is rebooting)");
    for (const QString& text : Clipped(macWriter)) clipped << QString("CMacWriterPage: ") + text;
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
