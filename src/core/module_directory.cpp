#include "core/module_directory.h"

namespace torvek {

ModuleDirectory::ModuleDirectory(QObject* parent) : QObject(parent) {
  table_.SetKeyColumn(kColMac);
  for (int c = 0; c < kModuleColumnCount; ++c) {
    const ColumnSpec& column = kModuleColumns[static_cast<std::size_t>(c)];
    table_.InsertColumn(c, column.header, Align::Center, column.width);
  }
}

const Module* ModuleDirectory::ModuleAt(int row) const {
  if (row < 0 || row >= table_.RowCount()) return nullptr;
  const auto index = static_cast<std::size_t>(table_.GetRowData(row));
  return index >= 1 && index <= modules_.size() ? &modules_[index - 1] : nullptr;
}

std::vector<const Module*> ModuleDirectory::Modules() const {
  std::vector<const Module*> modules;
  modules.reserve(static_cast<std::size_t>(table_.RowCount()));
  for (int row = 0; row < table_.RowCount(); ++row)
    if (const Module* module = ModuleAt(row)) modules.push_back(module);
  return modules;
}

int ModuleDirectory::FindRowByMac(const QString& macText) const {
  return table_.FindRow(macText.toStdString());
}

QString ModuleDirectory::AddressOfRow(int row) const {
  const Module* module = ModuleAt(row);
  if (!module) return {};
  if (useLanIp) return QString::fromStdString(DottedFromRecord(module->lanIp.data()));
  return module->hasWan ? QString::fromStdString(DottedFromRecord(module->wanIp.data()))
                        : QString();
}

int ModuleDirectory::OnModuleRecord(const QByteArray& datagram) {
  return AddModule(ModuleFromRecord(reinterpret_cast<const std::uint8_t*>(datagram.constData()),
                                    static_cast<std::size_t>(datagram.size())));
}

int ModuleDirectory::AddModule(const Module& module) {
  const auto data = static_cast<std::intptr_t>(modules_.size() + 1);
  const int row = AddModuleRow(table_, module, data);
  if (row < 0) return row;
  modules_.push_back(module);
  emit rowsChanged();
  return row;
}

void ModuleDirectory::DeleteAllRows() {
  table_.DeleteAllRows();
  modules_.clear();
  emit rowsChanged();
}

void ModuleDirectory::SelectRow(int row, bool keepModuleIp) {
  selectedRow = row;
  const Module* module = ModuleAt(row);
  selectedModuleMac = module ? module->mac : MacAddress{};
  // A row without a version reads as major -'0', below every gate.
  selectedFirmwareMajor = module ? module->FirmwareMajor() : -'0';
  selectedAddress = AddressOfRow(row);
  if (!keepModuleIp) selectedModuleIp = selectedAddress;
  selectedModuleType = QString::fromStdString(table_.GetItemText(row, kColType));
  emit selectionChanged();
}

void ModuleDirectory::ReadUseLanIp(bool on) {
  useLanIp = on ? 1 : 0;
  emit addressChanged();
}

void ModuleDirectory::OnUseLanIp(bool on) {
  useLanIp = on ? 1 : 0;
  // Without a selected row there is nothing to read, and the addresses stay.
  if (selectedRow >= 0 && selectedRow < RowCount()) {
    selectedAddress = AddressOfRow(selectedRow);
    selectedModuleIp = selectedAddress;
  }
  emit addressChanged();
}

void ModuleDirectory::SetSelectedAddress(const QString& address) {
  selectedAddress = address;
  emit addressChanged();
}

}  // namespace torvek
