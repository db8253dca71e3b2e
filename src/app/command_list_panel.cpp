#include "app/command_list_panel.h"

#include <QFile>
#include <QMouseEvent>
#include <QScrollBar>

#include "controls/cell_color_list.h"
#include "core/command_list.h"
#include "core/latin1_text.h"

namespace torvek {

namespace {
constexpr int kCommandColumns = 4;
constexpr Color kMarkRed = 0x0000FF;
constexpr Color kWhite = 0xFFFFFF;
}  // namespace

CommandListPanel::CommandListPanel(CCellColorList& list,
                                   std::function<void(const QString&)> showCommand,
                                   std::function<void()> onClick)
    : list_(list), showCommand_(std::move(showCommand)), onClick_(std::move(onClick)) {
  list_.viewport()->installEventFilter(this);
}

bool CommandListPanel::eventFilter(QObject* watched, QEvent* event) {
  if (watched == list_.viewport() && event->type() == QEvent::MouseButtonRelease) {
    const auto* mouse = static_cast<QMouseEvent*>(event);
    if (!list_.indexAt(mouse->position().toPoint()).isValid()) list_.clearSelection();
    onClick_();
  }
  return false;
}

void CommandListPanel::InsertColumns() {
  static constexpr struct {
    const char* header;
    int format;
    int width;
  } kColumns[kCommandColumns] = {
      {"#", 2, 30}, {"Syntax", 0, 80}, {"Command send", 0, 200}, {"Description", 0, 340}};
  for (int c = 0; c < kCommandColumns; ++c)
    list_.InsertColumn(c, kColumns[c].header, kColumns[c].format, kColumns[c].width, c);
  list_.hide();
}

bool CommandListPanel::Load(const QString& path) {
  list_.DeleteAllRows();
  // Read and write: a write-protected file counts as missing.
  QFile file(path);
  if (!file.open(QIODevice::ReadWrite | QIODevice::ExistingOnly)) return false;
  const QByteArray content = file.readAll();
  file.close();
  const std::vector<CommandFields> rows = ParseCommandList(ByteView(content));
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const int row = static_cast<int>(i);
    list_.InsertRow(row, QString::number(row + 1));
    for (int c = 0; c < 3; ++c)
      list_.SetCellText(row, c + 1, QString::fromLocal8Bit(rows[i][static_cast<std::size_t>(c)]));
  }
  list_.model().FlushRows();
  if (!rows.empty())
    list_.selectionModel()->setCurrentIndex(list_.model().index(0, 0),
                                            QItemSelectionModel::NoUpdate);
  return true;
}

bool CommandListPanel::Click() {
  list_.viewport()->update();
  if (list_.SelectedRow() < 0) return false;
  const int row = list_.currentIndex().row();
  showCommand_(list_.GetItemText(row, 2));
  if (commandRow != -1) MarkRow(commandRow, false);
  commandRow = row;
  return true;
}

int CommandListPanel::NextRow(int& count, int& row) {
  const int rows = list_.RowCount();
  if (rows == 0) return 0;
  const CommandWalkStep step = StepCommandWalk(rows, commandRow, previousCommandRow);
  MarkRow(step.unmarkRow, false);
  MarkRow(step.unmarkPreviousRow, false);
  MarkRow(step.markRow, true);
  showCommand_(list_.GetItemText(step.markRow, 2));
  count = rows;
  row = step.markRow;
  previousCommandRow = step.previousCommandRow;
  commandRow = step.commandRow;

  if (WalkScrollsOn(commandRow, list_.rowHeight(0), list_.height())) {
    QScrollBar* bar = list_.verticalScrollBar();
    bar->setValue(bar->value() + (list_.verticalScrollMode() == QAbstractItemView::ScrollPerItem
                                      ? 1
                                      : list_.rowHeight(0)));
  }
  return 1;
}

void CommandListPanel::MarkRow(int row, bool on) {
  if (row < 0 || row >= list_.RowCount()) return;
  for (int c = 0; c < kCommandColumns; ++c) list_.SetCellBackground(row, c, on ? kMarkRed : kWhite);
  if (on)
    list_.selectionModel()->select(list_.model().index(row, 0),
                                   QItemSelectionModel::Deselect | QItemSelectionModel::Rows);
  list_.viewport()->update();
}

}  // namespace torvek
