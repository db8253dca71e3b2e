// The list control: batched rows, per-cell colours, the keys it ignores.
#include <QHeaderView>
#include <QSignalSpy>
#include <QtTest/QTest>
#include <vector>

#include "controls/cell_color_list.h"

using namespace torvek;

class CellColorListTest : public QObject {
  Q_OBJECT

  static void ThreeColumns(CCellColorList& list) {
    list.InsertColumn(0, "name", 2, 80);
    list.InsertColumn(1, "hidden", 2, 0);
    list.InsertColumn(2, "thin", 0, 1);
  }

 private slots:
  void burstOfRowsReachesTheViewInOneBatch() {
    CCellColorList list;
    ThreeColumns(list);
    QSignalSpy inserted(&list.model(), &QAbstractItemModel::rowsInserted);
    for (int i = 0; i < 10000; ++i)
      list.table().AppendRow(std::vector<std::string>{std::to_string(i)});
    QCOMPARE(list.RowCount(), 10000);
    QCOMPARE(list.model().rowCount(), 0);  // not shown until the event loop runs
    QTRY_COMPARE(list.model().rowCount(), 10000);
    QCOMPARE(inserted.count(), 1);
    QCOMPARE(list.model().index(9999, 0).data().toString(), QString("9999"));

    list.DeleteAllRows();
    QCOMPARE(list.model().rowCount(), 0);
    QCOMPARE(list.RowCount(), 0);
    // A flush pending from before the reset shows nothing stale.
    list.InsertRow(0, "again");
    QTRY_COMPARE(list.model().rowCount(), 1);
  }

  void cellColoursAndWidthsReachTheView() {
    CCellColorList list;
    ThreeColumns(list);
    QCOMPARE(list.horizontalHeader()->sectionSize(1), 0);
    QCOMPARE(list.horizontalHeader()->sectionSize(2), 1);
    list.InsertRow(0, "a");
    list.InsertRow(1, "b");
    QTRY_COMPARE(list.model().rowCount(), 2);
    list.SetCellBackground(1, 0, 0x00C8C8C8, true);
    QCOMPARE(list.model().index(1, 0).data(Qt::BackgroundRole).value<QColor>(),
             QColor(0xC8, 0xC8, 0xC8));
    QVERIFY(!list.model().index(0, 0).data(Qt::BackgroundRole).isValid());
    // 0x00BBGGRR: red in the low byte.
    list.SetCellBackground(0, -1, 0x000000FF);
    QCOMPARE(list.model().index(0, 2).data(Qt::BackgroundRole).value<QColor>(), QColor(Qt::red));
    QCOMPARE(list.GetCellBackground(0, 2), 0x000000FFu);
    QCOMPARE(list.GetCellBackground(9, 0), kSystemColor);
    list.SetCellBackground(0, 0, kSystemColor);
    QVERIFY(!list.model().index(0, 0).data(Qt::BackgroundRole).isValid());
    QCOMPARE(list.model().index(0, 0).data(Qt::TextAlignmentRole).value<Qt::Alignment>() &
                 Qt::AlignHCenter,
             Qt::AlignHCenter);
    QCOMPARE(list.model().headerData(0, Qt::Horizontal, Qt::DisplayRole).toString(),
             QString("name"));
  }

  void spaceBarChangesNothing() {
    CCellColorList list;
    ThreeColumns(list);
    list.InsertRow(0, "a");
    list.InsertRow(1, "b");
    list.show();
    QTRY_COMPARE(list.model().rowCount(), 2);
    list.selectRow(0);
    QCOMPARE(list.SelectedRow(), 0);
    QTest::keyClick(&list, Qt::Key_Space);
    QCOMPARE(list.SelectedRow(), 0);
    QTest::keyClick(&list, Qt::Key_Down);
    QCOMPARE(list.SelectedRow(), 1);
  }
};

QTEST_MAIN(CellColorListTest)
#include "cell_color_list_test.moc"
