// The data path without a window: the management link and the module
// directory alone, under a QCoreApplication, against the virtual modules.
// Records in, typed modules and the selection out, a Set request out.
#include <QCoreApplication>
#include <QSignalSpy>
#include <QtTest/QTest>

#include "admin/set_request.h"
#include "core/management_link.h"
#include "core/module_directory.h"
#include "lab.h"

using namespace torvek;
using namespace torvek::test;

class DataPathTest : public QObject {
  Q_OBJECT

 private slots:
  void recordsBecomeTypedModulesAndASetGoesToTheSelectedOne() {
    ModSim sim({"--count", "3"});
    QVERIFY(sim.Start());
    ModuleDirectory modules;
    ManagementLink link(modules);
    QStringList told;
    connect(&link, &ManagementLink::tell, this,
            [&told](const QString& text, const QString&) { told << text; });
    QVERIFY(link.Open());
    link.SetUpSocket();
    link.SetPcMac(QByteArray("\x02\x77\x00\x00\x00\x01", 6));
    QSignalSpy rows(&modules, &ModuleDirectory::rowsChanged);
    QSignalSpy records(&link, &ManagementLink::moduleRecord);
    link.StartSearch();
    QTRY_COMPARE(modules.RowCount(), 3);
    QCOMPARE(records.size(), 3);
    QVERIFY(rows.size() >= 4);  // emptied, then a row each

    // Every row has its typed module, and the cell texts are made from it.
    for (int row = 0; row < 3; ++row) {
      const Module* module = modules.ModuleAt(row);
      QVERIFY(module);
      QCOMPARE(QString::fromStdString(MacText(module->mac.data())),
               QString::fromStdString(modules.table().GetItemText(row, kColMac)));
      QCOMPARE(modules.AddressOfRow(row),
               QString::fromStdString(modules.table().GetItemText(row, kColLanIp)));
      QCOMPARE(modules.FindRowByMac(QString::fromStdString(MacText(module->mac.data()))), row);
    }
    QVERIFY(!modules.SelectedModule());

    QSignalSpy selected(&modules, &ModuleDirectory::selectionChanged);
    modules.SelectRow(1);
    QCOMPARE(selected.size(), 1);
    const Module& chosen = *modules.SelectedModule();
    QCOMPARE(modules.selectedModuleMac, chosen.mac);
    QCOMPARE(modules.selectedFirmwareMajor, chosen.FirmwareMajor());
    QCOMPARE(modules.selectedAddress, modules.AddressOfRow(1));
    QCOMPARE(modules.selectedModuleIp, modules.selectedAddress);
    QCOMPARE(modules.selectedModuleType,
             QString::fromStdString(modules.table().GetItemText(1, kColType)));

    // A Set built in the template goes out to the selected module's MAC.
    FillSetRequest(link.FrameTemplate.data(), 0, 0x0A4D8063, 0xFFFF0000, 0x0A4D0001);
    QVERIFY(link.SendFrame(link.FrameTemplate.data(), frame::kRequestLength));
    QTRY_COMPARE(sim.FramesOf(3).size(), 1);
    const QString set = sim.FramesOf(3).first();
    QCOMPARE(FrameField(set, 11, 17), QString("027700000001"));
    QCOMPARE(FrameField(set, 17, 23),
             QString::fromStdString(MacText(chosen.mac.data())).remove('-').toLower());
    QVERIFY(told.isEmpty());

    // A search empties the list and forgets the row, and the rows come back.
    link.StartSearch();
    QCOMPARE(modules.selectedRow, -1);
    QTRY_COMPARE(modules.RowCount(), 3);
  }

  void everyAnswerGoesToItsRouteWithItsOwnCopy() {
    ModuleDirectory modules;
    ManagementLink link(modules);
    QList<QByteArray> blocks;
    QStringList refused;
    connect(&link, &ManagementLink::configBlock, this,
            [&](const QByteArray& datagram) { blocks << datagram; });
    connect(&link, &ManagementLink::refusal, this, [&](const QString& text) { refused << text; });
    const auto deliver = [&](std::uint8_t command, std::uint8_t result, std::size_t length) {
      auto& buffer = link.socket().receiveBuffer;
      buffer.fill(0xAB);
      buffer[frame::kCommand] = command;
      buffer[frame::kResult] = result;
      link.socket().receivedLength = static_cast<std::uint16_t>(length);
      link.OnManagementNotify(0, 0);
    };
    deliver(51, 0, 40);
    deliver(51, 3, 40);
    deliver(77, 0, 23);
    // The copy is the datagram as it came, and stays when the buffer changes.
    QCOMPARE(blocks.size(), 1);
    QCOMPARE(blocks.first().size(), 40);
    link.socket().receiveBuffer.fill(0);
    QCOMPARE(static_cast<std::uint8_t>(blocks.first()[39]), 0xAB);
    QCOMPARE(refused,
             (QStringList{" 3: Invalid gateway address", "Unknown message (hex =4d   dec=77)"}));
  }
};

int main(int argc, char** argv) {
  RequireLab();
  QCoreApplication app(argc, argv);
  DataPathTest test;
  return QTest::qExec(&test, argc, argv);
}

#include "data_path_test.moc"
