// The modules that answered the last search, and the one the operator chose.
// It owns the module table (the list widget only shows it) and a typed record
// per row; everyone who needs a module's MAC, address or firmware asks here,
// never a cell text. Lives on the UI thread.
#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>
#include <cstdint>
#include <vector>

#include "controls/cell_table.h"
#include "core/management_frame.h"
#include "core/module_record.h"

namespace torvek {

class ModuleDirectory : public QObject {
  Q_OBJECT
 public:
  explicit ModuleDirectory(QObject* parent = nullptr);

  CellTable& table() { return table_; }
  const CellTable& table() const { return table_; }
  int RowCount() const { return table_.RowCount(); }
  // The module of a row, wherever a sort has moved it; null outside the list.
  const Module* ModuleAt(int row) const;
  // Every module in the list's order.
  std::vector<const Module*> Modules() const;
  int FindRowByMac(const QString& macText) const;
  // The row's LAN or WAN address by Use LAN IP, as the list shows it.
  QString AddressOfRow(int row) const;

  // A search answer: its row, unless the MAC is listed already. The row's
  // index, or -1 for a repeat.
  int OnModuleRecord(const QByteArray& datagram);
  int AddModule(const Module& module);
  // Before a new search: no rows and no selected row. The other values of the
  // selection stay as they were, and so do requests built from them.
  void DeleteAllRows();

  // The selection. `keepModuleIp` leaves selectedModuleIp where a running
  // file job sends.
  void SelectRow(int row, bool keepModuleIp = false);
  // No row chosen; the values taken from the last one stay.
  void ForgetSelectedRow() { selectedRow = -1; }
  // The Use LAN IP box as it is now.
  void ReadUseLanIp(bool on);
  // The box was clicked: with a row selected, its addresses follow (also a
  // running job's next blocks).
  void OnUseLanIp(bool on);
  // The jig test takes the only module of the list as the one meant.
  void SetSelectedAddress(const QString& address);
  // The selected module, or null when none is chosen.
  const Module* SelectedModule() const { return ModuleAt(selectedRow); }

  // The selection under the names the pages know it by. Written only here.
  int selectedRow = -1;
  QString selectedModuleType = "G : default";
  int selectedFirmwareMajor = 3;
  MacAddress selectedModuleMac{};
  QString selectedAddress;
  QString selectedModuleIp;
  int useLanIp = 1;

 signals:
  // Rows were added or the list was emptied.
  void rowsChanged();
  // A row was chosen: selectedRow and the values taken from it.
  void selectionChanged();
  // Use LAN IP, or the address of the selection, changed.
  void addressChanged();

 private:
  CellTable table_;
  // Indexed by a row's data less one; rows keep their data through a sort.
  std::vector<Module> modules_;
};

}  // namespace torvek
