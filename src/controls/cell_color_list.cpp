#include "controls/cell_color_list.h"

#include <QHeaderView>
#include <QKeyEvent>

namespace torvek {

QColor ToQColor(Color color) {
  return QColor(static_cast<int>(color & 0xFF), static_cast<int>((color >> 8) & 0xFF),
                static_cast<int>((color >> 16) & 0xFF));
}

CellTableModel::CellTableModel(CellTable& table, QObject* parent)
    : QAbstractTableModel(parent), table_(table) {
  table_.SetObserver(this);
  flushTimer_.setSingleShot(true);
  flushTimer_.setInterval(0);
  connect(&flushTimer_, &QTimer::timeout, this, &CellTableModel::FlushRows);
}

CellTableModel::~CellTableModel() {
  if (table_.Observer() == this) table_.SetObserver(nullptr);
}

int CellTableModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : shownRows_;
}

int CellTableModel::columnCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : table_.ColumnCount();
}

QVariant CellTableModel::data(const QModelIndex& index, int role) const {
  const int row = index.row(), column = index.column();
  if (!index.isValid() || row >= shownRows_ || column >= table_.ColumnCount()) return {};
  switch (role) {
    case Qt::DisplayRole:
    case Qt::AccessibleTextRole: return QString::fromStdString(table_.GetItemText(row, column));
    case Qt::BackgroundRole: {
      const Color c = table_.GetCellBackground(row, column);
      return c == kSystemColor ? QVariant() : QVariant(ToQColor(c));
    }
    case Qt::ForegroundRole: {
      const Color c = table_.GetCellTextColor(row, column);
      return c == kSystemColor ? QVariant() : QVariant(ToQColor(c));
    }
    case Qt::TextAlignmentRole: {
      const Align a = table_.ColumnAt(column).align;
      const Qt::Alignment h = a == Align::Center  ? Qt::AlignHCenter
                              : a == Align::Right ? Qt::AlignRight
                                                  : Qt::AlignLeft;
      return QVariant::fromValue(h | Qt::AlignVCenter);
    }
    default: return {};
  }
}

QVariant CellTableModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal || section < 0 || section >= table_.ColumnCount()) return {};
  if (role == Qt::DisplayRole) return QString::fromStdString(table_.ColumnAt(section).title);
  return {};
}

void CellTableModel::FlushRows() {
  const int rows = table_.RowCount();
  if (rows <= shownRows_) return;
  beginInsertRows({}, shownRows_, rows - 1);
  shownRows_ = rows;
  endInsertRows();
}

void CellTableModel::OnColumnsChanged() {
  beginResetModel();
  shownRows_ = table_.RowCount();
  endResetModel();
}

void CellTableModel::OnRowsInserted(int first, int /*last*/) {
  if (first >= shownRows_) {
    if (!flushTimer_.isActive()) flushTimer_.start();
    return;
  }
  // A row inserted between shown rows: rare, show the whole table anew.
  beginResetModel();
  shownRows_ = table_.RowCount();
  endResetModel();
}

void CellTableModel::OnRowsReset() {
  beginResetModel();
  shownRows_ = 0;
  endResetModel();
}

void CellTableModel::OnCellsChanged(int firstRow, int lastRow, int firstCol, int lastCol) {
  lastRow = std::min(lastRow, shownRows_ - 1);
  if (firstRow > lastRow) return;  // not shown yet: the flush shows it whole
  emit dataChanged(index(firstRow, firstCol), index(lastRow, lastCol));
}

void CellTableModel::OnRowsAboutToMove() {
  // Every row must be shown before the view's indexes are moved.
  FlushRows();
  emit layoutAboutToBeChanged({}, QAbstractItemModel::VerticalSortHint);
}

void CellTableModel::OnRowsMoved(const std::vector<int>& newToOld) {
  std::vector<int> oldToNew(newToOld.size());
  for (std::size_t i = 0; i < newToOld.size(); ++i)
    oldToNew[static_cast<std::size_t>(newToOld[i])] = static_cast<int>(i);
  // The selection and the current row are persistent indexes: they follow
  // their rows to the new places.
  const QModelIndexList from = persistentIndexList();
  QModelIndexList to;
  to.reserve(from.size());
  for (const QModelIndex& old : from) {
    const auto row = static_cast<std::size_t>(old.row());
    to.append(row < oldToNew.size() ? index(oldToNew[row], old.column()) : QModelIndex());
  }
  changePersistentIndexList(from, to);
  emit layoutChanged({}, QAbstractItemModel::VerticalSortHint);
}

CCellColorList::CCellColorList(QWidget* parent)
    : QTableView(parent), model_(std::make_unique<CellTableModel>(ownTable_, this)) {
  setModel(model_.get());
  setSelectionBehavior(QAbstractItemView::SelectRows);
  setSelectionMode(QAbstractItemView::SingleSelection);
  setEditTriggers(QAbstractItemView::NoEditTriggers);
  setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
  setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
  setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
  setShowGrid(false);
  setWordWrap(false);
  setTabKeyNavigation(false);
  verticalHeader()->hide();
  verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
  verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 4);
  horizontalHeader()->setMinimumSectionSize(0);
  horizontalHeader()->setHighlightSections(false);
  horizontalHeader()->setSectionsClickable(true);
  connect(horizontalHeader(), &QHeaderView::sectionClicked, this, &CCellColorList::OnHeaderClick);
}

int CCellColorList::InsertColumn(int index, const QString& title, int format, int width,
                                 int /*subItem*/) {
  const Align align = format == 2 ? Align::Center : format == 1 ? Align::Right : Align::Left;
  const int at = table_->InsertColumn(index, title.toStdString(), align, width);
  if (at < 0) return at;
  ResizeSections();
  return at;
}

void CCellColorList::ShowTable(CellTable& table) {
  auto model = std::make_unique<CellTableModel>(table, this);
  setModel(model.get());
  ownTable_.SetObserver(nullptr);
  model_ = std::move(model);
  table_ = &table;
  ResizeSections();
}

void CCellColorList::ResizeSections() {
  for (int c = 0; c < table_->ColumnCount(); ++c)
    horizontalHeader()->resizeSection(c, table_->ColumnAt(c).width);
}

int CCellColorList::InsertRow(int index, const QString& text, std::intptr_t userData) {
  return table_->InsertRow(index, text.toStdString(), userData);
}

bool CCellColorList::SetCellText(int row, int column, const QString& text) {
  return table_->SetCellText(row, column, text.toStdString());
}

QString CCellColorList::GetItemText(int row, int column) const {
  return QString::fromStdString(table_->GetItemText(row, column));
}

int CCellColorList::DeleteAllRows() {
  setUpdatesEnabled(false);
  const int count = table_->DeleteAllRows();
  setUpdatesEnabled(true);
  return count;
}

void CCellColorList::SetCellBackground(int row, int column, Color color, bool redraw) {
  table_->SetCellBackground(row, column, color);
  if (redraw) viewport()->repaint();
}

Color CCellColorList::GetCellBackground(int row, int column) const {
  return table_->GetCellBackground(row, column);
}

void CCellColorList::SetCellTextColor(int row, int column, Color color, bool redraw) {
  table_->SetCellTextColor(row, column, color);
  if (redraw) viewport()->repaint();
}

void CCellColorList::OnHeaderClick(int column) {
  if (!horizontalHeader()->sectionsClickable()) return;
  table_->SortByHeaderClick(column);
}

int CCellColorList::SelectedRow() const {
  const QModelIndexList rows = selectionModel()->selectedRows();
  return rows.isEmpty() ? -1 : rows.first().row();
}

void CCellColorList::SetShowSelectionAlways(bool on) {
  QPalette p = palette();
  if (on) {
    p.setColor(QPalette::Inactive, QPalette::Highlight,
               p.color(QPalette::Active, QPalette::Highlight));
    p.setColor(QPalette::Inactive, QPalette::HighlightedText,
               p.color(QPalette::Active, QPalette::HighlightedText));
  } else {
    p.setColor(QPalette::Inactive, QPalette::Highlight, p.color(QPalette::Active, QPalette::Base));
    p.setColor(QPalette::Inactive, QPalette::HighlightedText,
               p.color(QPalette::Active, QPalette::Text));
  }
  setPalette(p);
}

void CCellColorList::keyPressEvent(QKeyEvent* event) {
  // The space bar does nothing in these lists.
  if (event->key() == Qt::Key_Space) {
    event->accept();
    return;
  }
  QTableView::keyPressEvent(event);
}

}  // namespace torvek
