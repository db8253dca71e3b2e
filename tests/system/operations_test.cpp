// Reboot, factory default, company ID and file blocks against virtual modules:
// the guards in their order, the frames that go out, and what the modules'
// answers do to the list.
#include <QApplication>
#include <QComboBox>
#include <QElapsedTimer>
#include <QtTest/QTest>
#include <atomic>
#include <thread>

#include "admin/config_page.h"
#include "admin/operation_dialogs.h"
#include "controls/cell_color_list.h"
#include "controls/ip_address_ctrl.h"
#include "system_fixture.h"

using namespace torvek;
using namespace torvek::test;

namespace {

const QString kVersionGate = " This function supports module firmware version 3.0 above";
const QString kNotSelected = "Module is not selected at the list, Please select module first!!!";

// Answers a dialog by choosing row `choice` of its combo and pressing OK.
std::function<int(QDialog&)> Choose(int choice, QStringList* seen = nullptr) {
  return [choice, seen](QDialog& dialog) {
    if (seen) *seen << dialog.windowTitle();
    dialog.findChild<QComboBox*>()->setCurrentIndex(choice);
    dialog.accept();
    return dialog.result();
  };
}

int Cancel(QDialog& dialog) {
  dialog.reject();
  return dialog.result();
}

using test::FrameField;

}  // namespace

class OperationsTest : public QObject {
  Q_OBJECT

 private slots:
  void rebootGuardsRunInOrderAndOnlyTheLastStepSends() {
    LabWindow w;
    QVERIFY(w.dialog.OnInitDialog());
    CConfigPage& page = *w.dialog.configPage;
    ScriptedPrompter& p = w.prompter;

    // Nothing answered the first search.
    p.Expect({"There is no module at the list, Please do the search button first!!!"});
    page.OnModuleReboot();
    QCOMPARE(p.Texts(),
             QStringList{"There is no module at the list, Please do the search button first!!!"});

    ModSim sim({"--reboot-ms", "1500"});
    QVERIFY(sim.Start());
    w.dialog.OnFindDevices();
    QTRY_COMPARE(w.dialog.ModuleList().RowCount(), 1);

    // An upload stops it before the version gate and the question, and the
    // status line is emptied.
    page.SetOperationStatus("old");
    w.dialog.link().fileJobRunning = true;
    w.dialog.modules().selectedFirmwareMajor = 2;
    p.Expect({"Module config is running !!!"});
    page.OnModuleReboot();
    QCOMPARE(p.Texts().last(), QString("Module config is running !!!"));
    QCOMPARE(page.OperationStatus(), QString());
    w.dialog.link().fileJobRunning = false;

    p.Expect({kVersionGate});
    page.OnModuleReboot();
    QCOMPARE(p.Texts().last(), kVersionGate);
    QVERIFY(p.questions.isEmpty());
    w.dialog.modules().selectedFirmwareMajor = 3;

    p.answers.enqueue(false);
    page.OnModuleReboot();
    QCOMPARE(p.questions, QStringList{"Are you sure to reboot?"});

    QStringList dialogs;
    p.answers.enqueue(true);
    p.onDialog = [&dialogs](QDialog& d) {
      dialogs << d.windowTitle();
      return Cancel(d);
    };
    page.OnModuleReboot();
    QCOMPARE(dialogs, QStringList{"Get Operation"});

    // The search left no row selected.
    p.answers.enqueue(true);
    p.onDialog = Choose(0);
    p.Expect({kNotSelected});
    page.OnModuleReboot();
    QCOMPARE(p.Texts().last(), kNotSelected);
    QCOMPARE(p.boxes.size(), 4);

    QVERIFY(SearchBehind(w, sim));
    QCOMPARE(sim.FramesOf(58), QStringList{});
    QCOMPARE(page.OperationStatus(), QString());

    QTRY_COMPARE(w.dialog.ModuleList().RowCount(), 1);
    w.dialog.SelectRow(0);
    p.answers.enqueue(true);
    page.OnModuleReboot();
    QCOMPARE(page.OperationStatus(), QString("Reboot command is sent"));
    QTRY_COMPARE(sim.FramesOf(58).size(), 1);
    const QString frame = sim.FramesOf(58).first();
    QVERIFY2(frame.startsWith("1225 55483a0300000000"), qPrintable(frame));
    QCOMPARE(FrameField(frame, 11, 23), QString("025456000001000ee3000001"));
    QCOMPARE(p.boxes.size(), 4);
    QCOMPARE(p.unexpected, 0);

    // The module is away for a while and then answers again.
    QVERIFY(SearchBehind(w, sim));
    QTest::qWait(300);
    QCOMPARE(w.dialog.ModuleList().RowCount(), 0);
    QTest::qWait(1500);
    w.dialog.OnFindDevices();
    QTRY_COMPARE(w.dialog.ModuleList().RowCount(), 1);
  }

  void factoryDefaultToAllModulesEmptiesAndRefillsTheList() {
    ModSim sim({"--count", "2"});
    QVERIFY(sim.Start());
    LabWindow w;
    QVERIFY(w.dialog.OnInitDialog());
    QTRY_COMPARE(w.dialog.ModuleList().RowCount(), 2);
    w.dialog.SelectRow(1);

    w.prompter.answers.enqueue(true);
    w.prompter.onDialog = Choose(1);
    w.dialog.configPage->OnFactoryDefault();
    QCOMPARE(w.prompter.questions,
             QStringList{"Are you sure to make factory default configuration?"});
    QCOMPARE(w.dialog.configPage->OperationStatus(), QString("Factory default command is sent"));
    QTRY_COMPARE(sim.FramesOf(59).size(), 1);
    QCOMPARE(FrameField(sim.FramesOf(59).first(), 2, 3), QString("3b"));
    QCOMPARE(FrameField(sim.FramesOf(59).first(), 17, 23), QString("ffffffffffff"));

    // Each module's answer 60 starts a search: two more after the first.
    QTRY_COMPARE(sim.FramesOf(1).size(), 3);
    QTRY_COMPARE(w.dialog.ModuleList().RowCount(), 2);
    QCOMPARE(w.dialog.modules().selectedRow, -1);
    QVERIFY(w.prompter.boxes.isEmpty());
  }

  void companyIdAsksWhichThenWhetherAndSendsTheIndex() {
    ModSim sim({});
    QVERIFY(sim.Start());
    LabWindow w;
    QVERIFY(w.dialog.OnInitDialog());
    QTRY_COMPARE(w.dialog.ModuleList().RowCount(), 1);
    w.dialog.SelectRow(0);
    CConfigPage& page = *w.dialog.configPage;

    w.prompter.onDialog = Cancel;
    page.SendCompanyId(false);
    QVERIFY(w.prompter.questions.isEmpty());

    QStringList dialogs;
    w.prompter.onDialog = Choose(10, &dialogs);
    w.prompter.answers.enqueue(false);
    page.SendCompanyId(false);
    QCOMPARE(w.prompter.questions, QStringList{"Are you sure to change company ID?"});

    w.prompter.answers.enqueue(true);
    page.SendCompanyId(false);
    QCOMPARE(dialogs, (QStringList{"Config Operation", "Config Operation"}));
    QTRY_COMPARE(sim.FramesOf(63).size(), 1);
    const QString frame = sim.FramesOf(63).first();
    QCOMPARE(FrameField(frame, 17, 27), QString("000ee30000010a000000"));
    QVERIFY(w.prompter.boxes.isEmpty());
    QCOMPARE(w.dialog.configPage->OperationStatus(), QString("Operation Status"));
  }

  void fileBlocksGoWhereTheJobSays() {
    ModSim sim({"--count", "3", "--models", "730,740,730", "--log-destination"});
    QVERIFY(sim.Start());
    LabWindow w;
    CMainDlg& d = w.dialog;
    QVERIFY(d.OnInitDialog());
    QTRY_COMPARE(d.ModuleList().RowCount(), 3);
    d.SelectRow(1);

    FrameBuffer block{};
    block[frame::kCommand] = frame::kCmdUploadFirmware;
    const auto send = [&](std::uint8_t mark) {
      block[23] = mark;
      return d.SendFileFrame(block.data(), block.size());
    };
    d.fileSender().fileJobBroadcast = 1;
    QVERIFY(send(1));
    d.fileSender().fileJobBroadcast = 0;
    d.PublishFileTargets();
    QVERIFY(send(2));
    d.fileSender().fileJobAll = 1;
    d.fileSender().fileJobModel = kModel730;
    d.PublishFileTargets();
    QVERIFY(send(3));

    // While a job runs, the UI thread publishes every change by itself; the
    // file sender's thread reads the latest without waiting for it.
    d.link().fileJobRunning = true;
    d.fileSender().fileJobModel = kModel740P;
    d.OnUseLanIp();
    std::atomic<bool> done{false}, sent{false};
    QTest::qWait(20);
    std::thread sender([&] {
      sent = send(4);
      done = true;
    });
    sender.join();
    QVERIFY(done.load() && sent.load());
    d.link().fileJobRunning = false;

    QTRY_COMPARE(sim.FramesOf(56).size(), 7);
    QStringList where;
    for (const QString& f : sim.FramesOf(56))
      where << FrameField(f, 23, 24) + " " + f.section(' ', 2);
    QCOMPARE(where,
             (QStringList{"01 255.255.255.255", "02 10.77.128.2", "03 10.77.128.1",
                          "03 10.77.128.3", "04 10.77.128.1", "04 10.77.128.2", "04 10.77.128.3"}));

    // A send that fails tells the status line, and no box.
    d.fileSender().fileJobAll = 0;
    d.modules().selectedModuleIp.clear();
    d.PublishFileTargets();
    QVERIFY(!send(5));
    QVERIFY(d.configPage->OperationStatus().startsWith(" SendTo cmd Error("));
    QVERIFY(d.configPage->OperationStatus().endsWith(")= 38"));
    QVERIFY(w.prompter.boxes.isEmpty());
  }

  void pingsThenTwoSecondsInWhichAnswersWaitAndTheWindowPaints() {
    ModSim sim({"--count", "2"});
    QVERIFY(sim.Start());
    LabWindow w;
    CMainDlg& d = w.dialog;
    QVERIFY(d.OnInitDialog());
    d.show();
    QTRY_COMPARE(d.ModuleList().RowCount(), 2);
    d.SelectRow(0);

    struct PaintCounter : QObject {
      int paints = 0;
      bool eventFilter(QObject*, QEvent* e) override {
        if (e->type() == QEvent::Paint) ++paints;
        return false;
      }
    } counter;
    d.installEventFilter(&counter);

    // The Set's answer comes within milliseconds, but is taken only after the wait.
    w.prompter.answers.enqueue(true);
    w.prompter.Expect({" Module ip is changed !!!"});
    d.configPage->OnSet();
    QElapsedTimer elapsed;
    elapsed.start();
    d.PingAllModules();
    QVERIFY(elapsed.elapsed() >= 2000);
    QCOMPARE(sim.FramesOf(3).size(), 1);
    QVERIFY(w.prompter.boxes.isEmpty());
    QVERIFY2(counter.paints >= 20, qPrintable(QString::number(counter.paints)));
    QCOMPARE(w.launcher.started,
             (QList<QStringList>{{"hidden", "ping", "-c", "2", "10.77.128.1"},
                                 {"hidden", "ping", "-c", "2", "10.77.128.2"}}));
    QTRY_COMPARE(w.prompter.Texts(), QStringList{" Module ip is changed !!!"});

    // An empty list waits all the same.
    d.removeEventFilter(&counter);
    sim.Stop();
    d.OnFindDevices();
    elapsed.restart();
    d.PingAllModules();
    QVERIFY(elapsed.elapsed() >= 2000);
    QCOMPARE(w.launcher.started.size(), 2);
  }
};

TORVEK_LAB_MAIN(OperationsTest)
#include "operations_test.moc"
