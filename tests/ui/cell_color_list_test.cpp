// The list control: batched rows, per-cell colours, header sorts, the keys it
// ignores.
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

  static void ClickHeader(CCellColorList& list, int column) {
    QHeaderView* header = list.horizontalHeader();
    QTest::mouseClick(header->viewport(), Qt::LeftButton, {},
                      QPoint(header->sectionViewportPosition(column) + 5, header->height() / 2));
  }

  static QStringList Column(CCellColorList& list, int column) {
    QStringList out;
    for (int r = 0; r < list.model().rowCount(); ++r)
      out << list.model().index(r, column).data().toString();
    return out;
  }

  static QColor PixelAt(CCellColorList& list, int row, int column) {
    const QRect cell = list.visualRect(list.model().index(row, column));
    // Left of the centred text, inside the cell.
    return list.viewport()->grab().toImage().pixelColor(cell.left() + 3, cell.center().y());
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

  void headerClickSortsRowsWithTheirRecordsAndTheSelectionMark() {
    CCellColorList list;
    list.InsertColumn(0, "value", 2, 80);
    list.InsertColumn(1, "tag", 2, 80);
    list.resize(300, 200);
    const char* values[] = {"30", "1F", "2", "G"};
    for (int r = 0; r < 4; ++r) {
      list.InsertRow(r, values[r], 100 + r);
      list.SetCellText(r, 1, QString("t%1").arg(r));
    }
    list.SetCellBackground(0, 1, 0x000000FF);  // the row of "30"
    list.show();
    QTRY_COMPARE(list.model().rowCount(), 4);

    // The owner selects the row of "30" and keeps its index, as the main
    // window keeps selectedRow.
    QSignalSpy clicked(&list, &QAbstractItemView::clicked);
    QTest::mouseClick(list.viewport(), Qt::LeftButton, {},
                      list.visualRect(list.model().index(0, 0)).center());
    QCOMPARE(clicked.count(), 1);
    const int ownersRow = clicked.first().first().toModelIndex().row();
    QCOMPARE(ownersRow, 0);

    ClickHeader(list, 0);
    // Numbers by the hexadecimal rule, "G" by its bytes after them all.
    QCOMPARE(Column(list, 0), (QStringList{"2", "1F", "30", "G"}));
    QCOMPARE(Column(list, 1), (QStringList{"t2", "t1", "t0", "t3"}));
    QCOMPARE(list.GetRowData(2), 100);
    QCOMPARE(list.model().index(2, 1).data(Qt::BackgroundRole).value<QColor>(), QColor(Qt::red));
    QVERIFY(!list.model().index(0, 1).data(Qt::BackgroundRole).isValid());
    // The mark and the focus moved with the row; the owner heard nothing.
    QCOMPARE(list.SelectedRow(), 2);
    QCOMPARE(list.currentIndex().row(), 2);
    QCOMPARE(clicked.count(), 1);

    ClickHeader(list, 0);
    QCOMPARE(Column(list, 0), (QStringList{"G", "30", "1F", "2"}));
    QCOMPARE(list.SelectedRow(), 1);
    // A new row: the next click sorts ascending again, on the same column.
    list.InsertRow(4, "0");
    ClickHeader(list, 0);
    QCOMPARE(Column(list, 0), (QStringList{"0", "2", "1F", "30", "G"}));
    QCOMPARE(list.SelectedRow(), 3);

    // Without a clickable header nothing sorts.
    list.horizontalHeader()->setSectionsClickable(false);
    list.OnHeaderClick(1);
    QCOMPARE(Column(list, 0), (QStringList{"0", "2", "1F", "30", "G"}));
  }

  void coloursArePaintedAndTheSelectionShowsOverThem() {
    CCellColorList list;
    list.InsertColumn(0, "a", 2, 80);
    list.InsertColumn(1, "b", 2, 80);
    list.resize(300, 200);
    for (int r = 0; r < 3; ++r) list.InsertRow(r, "x");
    list.SetCellText(0, 1, "WWWWWW");
    list.SetCellBackground(0, 0, 0x000000FF);
    list.SetCellBackground(1, -1, 0x0000FF00);
    list.SetCellTextColor(0, 1, 0x00FF0000);  // blue
    list.show();
    QTRY_COMPARE(list.model().rowCount(), 3);

    // The style marks the current cell with a tint of its own.
    list.selectionModel()->clearCurrentIndex();
    QCOMPARE(PixelAt(list, 0, 0), QColor(Qt::red));
    QCOMPARE(PixelAt(list, 1, 1), QColor(Qt::green));
    bool blueText = false;
    const QImage image = list.viewport()->grab().toImage();
    const QRect cell = list.visualRect(list.model().index(0, 1));
    for (int y = cell.top(); y <= cell.bottom() && !blueText; ++y)
      for (int x = cell.left(); x <= cell.right() && !blueText; ++x) {
        const QColor p = image.pixelColor(x, y);
        blueText = p.blue() > 200 && p.red() < 60 && p.green() < 60;
      }
    QVERIFY(blueText);

    // A selected row shows the selection, not its cells' colours.
    list.SetShowSelectionAlways(true);
    list.selectRow(1);
    const QColor highlight = list.palette().color(QPalette::Active, QPalette::Highlight);
    QCOMPARE(PixelAt(list, 1, 1), highlight);
    QCOMPARE(PixelAt(list, 0, 0), QColor(Qt::red));

    // -1 is the system's colour when the cell is painted, not when it was set.
    list.SetCellBackground(0, 0, kSystemColor);
    QPalette p = list.palette();
    p.setColor(QPalette::Base, QColor(10, 20, 30));
    list.setPalette(p);
    QCOMPARE(PixelAt(list, 0, 0), QColor(10, 20, 30));
    QCOMPARE(PixelAt(list, 2, 1), QColor(10, 20, 30));
    QCOMPARE(list.GetCellBackground(0, 0), kSystemColor);
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
