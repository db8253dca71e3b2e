// The settings panel against virtual modules: the checks of Set in their
// order, the request's bytes, and the module's answers.
#include <QApplication>
#include <QtTest/QTest>

#include "admin/config_page.h"
#include "controls/cell_color_list.h"
#include "controls/ip_address_ctrl.h"
#include "system_fixture.h"

using namespace torvek;
using namespace torvek::test;

namespace {

void EnterLan(CMainDlg& d, const QString& ip, const QString& mask, const QString& gateway) {
  d.configPage->findChild<CIpAddressCtrl*>("lanIp")->SetText(ip);
  d.configPage->findChild<CIpAddressCtrl*>("lanSubnet")->SetText(mask);
  d.configPage->findChild<CIpAddressCtrl*>("lanGateway")->SetText(gateway);
}

}  // namespace

class SettingsTest : public QObject {
  Q_OBJECT

 private slots:
  void setReachesTheModuleWithReversedAddressesAndTakesEffect() {
    ModSim sim({"--count", "2"});
    QVERIFY(sim.Start());
    LabWindow w;
    QVERIFY(w.dialog.OnInitDialog());
    CCellColorList& list = w.dialog.ModuleList();
    QTRY_COMPARE(list.RowCount(), 2);
    w.dialog.SelectRow(1);
    EnterLan(w.dialog, "10.77.200.9", "255.255.0.0", "10.77.0.254");
    w.prompter.answers.enqueue(true);
    w.prompter.Expect({" Module ip is changed !!!"});
    w.dialog.configPage->OnSet();
    QCOMPARE(w.prompter.questionTitles, QStringList{"Warning"});

    QTRY_COMPARE(sim.FramesOf(3).size(), 1);
    const QString frame = sim.FramesOf(3).first();
    QVERIFY2(frame.startsWith("1225 554803030000000000c904"), qPrintable(frame));
    // Source: the PC side of the lab; target: the second module; then the body.
    QCOMPARE(frame.mid(5 + 22, 24), QString("025456000001000ee3000002"));
    QCOMPARE(frame.mid(5 + 46, 26), QString("00"
                                            "09c84d0a"
                                            "0000ffff"
                                            "fe004d0a"));
    QTRY_COMPARE(w.prompter.Texts(), QStringList{" Module ip is changed !!!"});

    // The row changes only with the next search.
    QCOMPARE(list.GetItemText(1, 2), QString("10.77.128.2"));
    w.dialog.OnFindDevices();
    QTRY_COMPARE(list.RowCount(), 2);
    QTRY_COMPARE(list.GetItemText(list.table().FindRow("00-0E-E3-00-00-02"), 2),
                 QString("10.77.200.9"));
    QCOMPARE(list.GetItemText(list.table().FindRow("00-0E-E3-00-00-02"), 4),
             QString("10.77.0.254"));
  }

  void setChecksRunInOrderAndEveryRefusalSendsNothing() {
    ModSim sim({});
    QVERIFY(sim.Start());
    LabWindow w;
    QVERIFY(w.dialog.OnInitDialog());
    QTRY_COMPARE(w.dialog.ModuleList().RowCount(), 1);
    w.dialog.SelectRow(0);
    CConfigPage& page = *w.dialog.configPage;
    const QString gate = " This function supports module firmware version 3.0 above";

    // The version gate comes before the question.
    w.dialog.modules().selectedFirmwareMajor = 2;
    w.prompter.Expect({gate});
    page.OnSet();
    QCOMPARE(w.prompter.Texts(), QStringList{gate});
    QVERIFY(w.prompter.questions.isEmpty());
    w.dialog.modules().selectedFirmwareMajor = 3;

    // No ends it without a word.
    w.prompter.answers.enqueue(false);
    page.OnSet();
    QCOMPARE(w.prompter.questions, QStringList{"Would like to change Information"});
    QCOMPARE(w.prompter.boxes.size(), 1);

    // The gateway must lie in the IP's subnet.
    EnterLan(w.dialog, "192.168.1.5", "255.255.255.0", "192.168.2.1");
    w.prompter.answers.enqueue(true);
    w.prompter.Expect({"IP , Subnet , Gateway mismatch"});
    page.OnSet();
    QCOMPARE(w.prompter.Texts().last(), QString("IP , Subnet , Gateway mismatch"));
    EnterLan(w.dialog, "192.168.1.5", "255.255.255.0", "0.0.0.0");
    w.prompter.answers.enqueue(true);
    w.prompter.Expect({"IP , Subnet , Gateway mismatch"});
    page.OnSet();
    QCOMPARE(w.prompter.Texts().last(), QString("IP , Subnet , Gateway mismatch"));

    // The list stays usable while the question is open: the version is read again.
    EnterLan(w.dialog, "192.168.1.5", "255.255.0.0", "192.168.2.1");
    w.prompter.onQuestion = [&w](const QString&) { w.dialog.modules().selectedFirmwareMajor = 1; };
    w.prompter.answers.enqueue(true);
    w.prompter.Expect({" Module firmware version below is not supported"});
    page.OnSet();
    QCOMPARE(w.prompter.Texts().last(), QString(" Module firmware version below is not supported"));
    QCOMPARE(w.prompter.boxes.size(), 4);
    w.prompter.onQuestion = nullptr;
    w.dialog.modules().selectedFirmwareMajor = 3;

    QVERIFY(SearchBehind(w, sim));
    QCOMPARE(sim.FramesOf(3), QStringList{});

    // The same addresses under 255.255.0.0 go out.
    QTRY_COMPARE(w.dialog.ModuleList().RowCount(), 1);
    w.dialog.SelectRow(0);
    EnterLan(w.dialog, "192.168.1.5", "255.255.0.0", "192.168.2.1");
    w.prompter.answers.enqueue(true);
    w.prompter.Expect({" Module ip is changed !!!"});
    page.OnSet();
    QTRY_COMPARE(sim.FramesOf(3).size(), 1);
    QTRY_COMPARE(w.prompter.Texts().last(), QString(" Module ip is changed !!!"));
    QCOMPARE(w.prompter.unexpected, 0);
  }

  void refusalShowsItsTextAndChangesNothing() {
    ModSim sim({"--set-refusal", "8"});
    QVERIFY(sim.Start());
    LabWindow w;
    QVERIFY(w.dialog.OnInitDialog());
    QTRY_COMPARE(w.dialog.ModuleList().RowCount(), 1);
    w.dialog.SelectRow(0);
    EnterLan(w.dialog, "10.77.200.9", "255.255.0.0", "10.77.0.254");
    w.prompter.answers.enqueue(true);
    const QStringList refusal{QString(" 8: Paramter") + QChar(0xAC04) + " mismatch"};
    w.prompter.Expect(refusal);
    w.dialog.configPage->OnSet();
    QTRY_COMPARE(w.prompter.Texts(), refusal);
    w.dialog.OnFindDevices();
    QTRY_COMPARE(w.dialog.ModuleList().RowCount(), 1);
    QCOMPARE(w.dialog.ModuleList().GetItemText(0, 2), QString("10.77.128.1"));
  }
};

TORVEK_LAB_MAIN(SettingsTest)
#include "settings_test.moc"
