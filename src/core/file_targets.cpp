#include "core/file_targets.h"

#include "controls/cell_table.h"
#include "core/management_frame.h"
#include "core/module_record.h"

namespace torvek {

std::vector<std::string> FileTargetAddresses(const CellTable& modules, int jobModel,
                                             bool useLanIp) {
  const bool filtered = jobModel == kModel730 || jobModel == kModel740;
  std::vector<std::string> out;
  for (int row = 0; row < modules.RowCount(); ++row) {
    if (filtered && ModelCodeOf(modules.GetItemText(row, kColType)) != jobModel) continue;
    out.push_back(modules.GetItemText(row, useLanIp ? kColLanIp : kColWanIp));
  }
  return out;
}

}  // namespace torvek
