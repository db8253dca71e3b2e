// The page "IP " and the operation dialogs: controls, what a row shows, the
// PC's addresses, and the choices of the dialogs.
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QtTest/QTest>

#include "admin/config_page.h"
#include "admin/operation_dialogs.h"
#include "app/main_dialog.h"
#include "control_by_id.h"
#include "controls/cell_color_list.h"
#include "controls/ip_address_ctrl.h"
#include "core/module_record.h"
#include "module_rows.h"
#include "scripted_prompter.h"

using namespace torvek;

namespace {

QStringList Rows(QComboBox* combo) {
  QStringList out;
  for (int i = 0; i < combo->count(); ++i) out << combo->itemText(i);
  return out;
}

Adapter MakeAdapter(QByteArray mac, QList<AdapterAddress> addresses, QStringList gateways) {
  return Adapter{"eth", std::move(mac), std::move(addresses), std::move(gateways)};
}

}  // namespace

class ConfigPageTest : public QObject, test::OfflinePlatform {
  Q_OBJECT

  QStringList PcLabels(CConfigPage& page) {
    QStringList out;
    for (int id : {1041, 1052, 1053, 1054}) out << test::ById<QLabel>(page, id)->text();
    return out;
  }

 private slots:
  void init() {
    prompter = {};
    adapters.list.clear();
  }

  void templateHoldsEveryControl() {
    CMainDlg main(platform);
    CConfigPage page(main.ConfigPageLinks());
    QCOMPARE(page.property("controlId").toInt(), 129);
    for (int id : {1011, 1012, 1013}) QVERIFY(test::ById<CIpAddressCtrl>(page, id)->isEnabled());
    for (int id : {1038, 1042, 1045}) QVERIFY(!test::ById<CIpAddressCtrl>(page, id)->isEnabled());
    QCOMPARE(Rows(test::ById<QComboBox>(page, 1015)), (QStringList{"Disabled", "Enabled"}));
    QVERIFY(!test::ById<QComboBox>(page, 1035)->isEnabled());
    QCOMPARE(Rows(test::ById<QComboBox>(page, 1035)),
             (QStringList{"STATIC", "DHCP", "PPPoE", "L2TP", "PPTP", "3G"}));
    const QPair<int, const char*> buttons[] = {
        {1016, "Set"},           {1106, "Get Configuration"}, {1107, "Set Configuration"},
        {1098, "Module Reboot"}, {1099, "Factory Default"},   {1044, "Refresh"}};
    for (const auto& [id, text] : buttons)
      QCOMPARE(test::ById<QPushButton>(page, id)->text(), QString(text));
    QCOMPARE(test::ById<QLabel>(page, 1048)->text(), QString("Firmware version"));
    QCOMPARE(test::ById<QLabel>(page, 1104)->text(), QString("Config Data File"));
    QCOMPARE(test::ById<QLabel>(page, 1105)->text(), QString("Operation Status"));
    page.show();
    QVERIFY(!test::ById<QPushButton>(page, 1)->isVisible());
    QVERIFY(!test::ById<QPushButton>(page, 2)->isVisible());
  }

  void aRowReachesTheControls() {
    CMainDlg main(platform);
    CConfigPage page(main.ConfigPageLinks());
    QStringList row(kModuleColumnCount);
    row[kColLanIp] = "10.1.2.3";
    row[kColLanSubnet] = "255.255.0.0";
    row[kColLanGateway] = "10.1.0.1";
    row[kColDhcp] = "1";
    row[kColMac] = "00-0E-E3-00-00-09";
    row[kColWanIp] = "172.16.0.9";
    row[kColIpType] = "pppoe";
    row[kColVersion] = "3.1.0002";
    page.ShowSettings(row);
    QCOMPARE(test::ById<CIpAddressCtrl>(page, 1011)->GetAddress(), 0x0A010203u);
    QCOMPARE(test::ById<CIpAddressCtrl>(page, 1013)->Text(), QString("10.1.0.1"));
    QCOMPARE(test::ById<CIpAddressCtrl>(page, 1038)->Text(), QString("172.16.0.9"));
    QCOMPARE(test::ById<QComboBox>(page, 1015)->currentIndex(), 1);
    QCOMPARE(test::ById<QComboBox>(page, 1035)->currentIndex(), 2);
    QCOMPARE(test::ById<QLabel>(page, 1108)->text(), QString("00-0E-E3-00-00-09"));
    QCOMPARE(test::ById<QLabel>(page, 1048)->text(), QString(": 3.1.0002"));

    // Dhcp "0" alone is Disabled; an unknown ip type shows STATIC; a version-1
    // row has no WAN address, and the field is blanked.
    row[kColDhcp] = "0";
    row[kColIpType] = "other";
    row[kColWanIp] = "";
    page.ShowSettings(row);
    QCOMPARE(test::ById<QComboBox>(page, 1015)->currentIndex(), 0);
    QCOMPARE(test::ById<QComboBox>(page, 1035)->currentIndex(), 0);
    QCOMPARE(test::ById<CIpAddressCtrl>(page, 1038)->GetAddress(), 0u);
  }

  void refreshShowsThePcAddressesAndClearsThem() {
    CMainDlg main(platform);
    CConfigPage page(main.ConfigPageLinks());
    const QByteArray mac1("\x02\x54\x56\x00\x00\x01", 6), mac2("\x02\x54\x56\x00\x00\x02", 6);

    // Two adapters of one address each; a third is never shown.
    adapters.list = {MakeAdapter(mac1, {{"192.168.0.5", "255.255.255.0"}}, {"192.168.0.1"}),
                     MakeAdapter(mac2, {{"10.0.0.7", "255.0.0.0"}}, {}),
                     MakeAdapter(mac2, {{"10.9.9.9", "255.0.0.0"}}, {"10.9.9.1"})};
    page.OnRefresh();
    QCOMPARE(PcLabels(page), (QStringList{"192.168.0.5/10.0.0.7", "255.255.255.0/255.0.0.0",
                                          "192.168.0.1/", "02:54:56:00:00:01/02:54:56:00:00:02"}));
    QCOMPARE(page.pcIp, QString("192.168.0.5"));

    // A PC without adapters clears the old texts.
    adapters.list.clear();
    page.OnRefresh();
    QCOMPARE(PcLabels(page), (QStringList{"", "", "", ""}));
    QVERIFY(page.pcIp.isEmpty());
  }

  void smallDialogsOfferTheirRowsAndGiveTheChoice() {
    CHowManyDlg howMany;
    QCOMPARE(howMany.property("controlId").toInt(), 146);
    QCOMPARE(howMany.windowTitle(), QString("Get Operation"));
    auto* combo = test::ById<QComboBox>(howMany, 1108);
    QCOMPARE(Rows(combo), (QStringList{"Selected module", "All modules"}));
    QCOMPARE(combo->currentIndex(), 0);
    combo->setCurrentIndex(1);
    test::ById<QPushButton>(howMany, 1)->click();
    QCOMPARE(howMany.result(), int(QDialog::Accepted));
    QCOMPARE(howMany.choice, 1);

    CCompanyIdDlg company;
    QCOMPARE(company.property("controlId").toInt(), 147);
    QCOMPARE(company.windowTitle(), QString("Config Operation"));
    combo = test::ById<QComboBox>(company, 1107);
    QCOMPARE(Rows(combo), (QStringList{" 0: lumora", " 1: no-logo", " 2: pex ", " 3:ravlin",
                                       " 4: mirvane ", " 5: dolvex", " 6: kemprise", " 7: tuvalk",
                                       " 8: ombra ", " 9: halvorn", "10: velmar gauge"}));
    combo->setCurrentIndex(9);
    test::ById<QPushButton>(company, 2)->click();
    QCOMPARE(company.result(), int(QDialog::Rejected));
    QCOMPARE(company.choice, 0);
  }

  void systemDataWithoutRowOffersAllModulesAndJumpsBack() {
    CMainDlg main(platform);
    CSystemDataDlg dlg(prompter, main.modules());
    QCOMPARE(dlg.property("controlId").toInt(), 148);
    QCOMPARE(dlg.windowTitle(), QString("Change system data"));
    QCOMPARE(dlg.howManyModules, -1);
    auto* howMany = test::ById<QComboBox>(dlg, 1108);
    QCOMPARE(Rows(howMany), (QStringList{"Selected Module", "All Module"}));
    QCOMPARE(Rows(test::ById<QComboBox>(dlg, 1081)), (QStringList{"ORB730", "ORB740"}));
    QCOMPARE(Rows(test::ById<QComboBox>(dlg, 1110)),
             (QStringList{"Firmware", "Configuration", "Company Logo File", "Copmpany ID Code"}));
    QCOMPARE(Rows(test::ById<QComboBox>(dlg, 1109)), (QStringList{"Unicast", "Broadcast"}));
    QCOMPARE(howMany->currentIndex(), 1);
    QCOMPARE(test::ById<QComboBox>(dlg, 1081)->currentIndex(), 0);

    test::ById<QComboBox>(dlg, 1109)->setCurrentIndex(1);
    howMany->setCurrentIndex(0);
    const QStringList notSelected{
        "Module is not selected at the list, Please select module first!!!"};
    prompter.Expect(notSelected);
    emit howMany->activated(0);
    QCOMPARE(prompter.Texts(), notSelected);
    QCOMPARE(howMany->currentIndex(), 1);
    // The other choices survive the jump back.
    QCOMPARE(test::ById<QComboBox>(dlg, 1109)->currentIndex(), 1);

    test::ById<QPushButton>(dlg, 1)->click();
    QCOMPARE(dlg.result(), int(QDialog::Accepted));
    QCOMPARE(QList<int>({dlg.howManyModules, dlg.moduleType, dlg.operationType,
                         dlg.communicationProtocol}),
             QList<int>({1, 0, 0, 1}));
    QCOMPARE(dlg.JobModel(), std::optional<std::uint16_t>(kModel730));
  }

  void systemDataOfA740PRowWantsAChosenModuleType() {
    CMainDlg main(platform);
    main.modules().selectedRow = 0;
    main.modules().selectedModuleType = "740P:AP";
    {
      CSystemDataDlg dlg(prompter, main.modules());
      QCOMPARE(test::ById<QComboBox>(dlg, 1108)->currentIndex(), 0);
      QCOMPARE(test::ById<QComboBox>(dlg, 1081)->currentIndex(), -1);
      const QStringList noType{" Module Type is not selected, Please select module type first!!!"};
      prompter.Expect(noType);
      test::ById<QPushButton>(dlg, 1)->click();
      QCOMPARE(prompter.Texts(), noType);
      QCOMPARE(dlg.result(), int(QDialog::Rejected));
      QCOMPARE(dlg.JobModel(), std::nullopt);

      // The company ID carries no model and goes without one.
      test::ById<QComboBox>(dlg, 1110)->setCurrentIndex(CSystemDataDlg::kCompanyId);
      test::ById<QPushButton>(dlg, 1)->click();
      QCOMPARE(dlg.result(), int(QDialog::Accepted));
    }
    main.modules().selectedModuleType = "740:Client";
    CSystemDataDlg dlg(prompter, main.modules());
    QCOMPARE(test::ById<QComboBox>(dlg, 1081)->currentIndex(), 1);
    // With a row selected, Selected Module stands without a word.
    emit test::ById<QComboBox>(dlg, 1108)->activated(0);
    QCOMPARE(prompter.boxes.size(), 1);

    // A row whose type names no model: the operator learns why Module Type
    // stands empty, once, as the dialog opens.
    main.modules().selectedModuleType = "3:AP";
    prompter.Expect({"Invalid Type String 3:AP"});
    CSystemDataDlg unknown(prompter, main.modules());
    QCOMPARE(prompter.boxes.size(), 2);
    QCOMPARE(test::ById<QComboBox>(unknown, 1081)->currentIndex(), -1);
  }

  void imageCheckTellsEachRefusalInItsBoxes() {
    CMainDlg main(platform);
    CConfigPage page(main.ConfigPageLinks());
    const auto file = [this](const QString& name, const QByteArray& bytes) {
      QFile f(dir.filePath(name));
      f.open(QIODevice::WriteOnly);
      f.write(bytes);
      return f.fileName();
    };
    const QString logo = file("logo.png", QByteArray("\x89PNG") + QByteArray(100, 0));
    const QStringList badLogo{" Invalid logo file", "Error:Invalid module logo file format"};
    prompter.Expect(badLogo);
    QVERIFY(!page.CheckImageFile(kModel740, 2, logo));
    QCOMPARE(prompter.Texts(), badLogo);
    QVERIFY(page.CheckImageFile(kModel730, 2, file("logo.gif", "GIF89a")));
    prompter.Expect({"Error:Invalid module(730) firmware file format"});
    QVERIFY(!page.CheckImageFile(kModel730, 0, dir.filePath("missing.bin")));
    QCOMPARE(prompter.Texts().last(), QString("Error:Invalid module(730) firmware file format"));
    QCOMPARE(prompter.boxes.size(), 3);
  }

  void addressEditTakesTypedDotsAndBackspace() {
    CIpAddressCtrl edit;
    edit.show();
    edit.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&edit));
    edit.setFocus();
    // Keys go where the focus is, as they would under the operator's hands.
    const auto type = [](const QString& keys) {
      for (QChar c : keys) QTest::keyClick(QApplication::focusWidget(), c.toLatin1());
    };
    type("192.168.1.5");
    QCOMPARE(edit.Text(), QString("192.168.1.5"));
    QCOMPARE(edit.GetAddress(), 0xC0A80105u);
    // A dot in an empty field stays there; a dot after a full field is no second move.
    edit.SetText("");
    edit.Field(0)->setFocus();
    type(".10.0..7");
    QCOMPARE(edit.Text(), QString("10.0.7."));
    // Backspace at a field's start goes back into the field before.
    QCOMPARE(QApplication::focusWidget(), edit.Field(2));
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Backspace);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Backspace);
    QCOMPARE(QApplication::focusWidget(), edit.Field(1));
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Backspace);
    QCOMPARE(edit.Text(), QString("10..."));
  }

  void useLanIpPicksTheColumnOfTheSelectedRow() {
    CMainDlg main(platform);
    test::AddModule(main.modules(), "10.77.128.1", "172.16.0.1");
    main.modules().selectedAddress = main.modules().selectedModuleIp = "before";
    auto* check = test::ById<QCheckBox>(main, 1046);

    // No row selected: nothing can be read, both texts stay.
    check->click();
    QCOMPARE(main.modules().useLanIp, 0);
    QCOMPARE(main.modules().selectedModuleIp, QString("before"));

    main.modules().selectedRow = 0;
    main.link().fileJobRunning = true;  // a running upload does not hold the address here
    check->click();
    QCOMPARE(main.modules().useLanIp, 1);
    QCOMPARE(main.modules().selectedModuleIp, QString("10.77.128.1"));
    check->click();
    QCOMPARE(main.modules().selectedAddress, QString("172.16.0.1"));
    QCOMPARE(main.modules().selectedModuleIp, QString("172.16.0.1"));
    main.link().fileJobRunning = false;
  }
};

QTEST_MAIN(ConfigPageTest)
#include "config_page_test.moc"
