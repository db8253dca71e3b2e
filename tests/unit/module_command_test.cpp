#include "admin/module_command.h"

#include <gtest/gtest.h>

#include <vector>

#include "controls/cell_table.h"
#include "core/file_targets.h"
#include "core/module_record.h"

namespace torvek {
namespace {

const MacAddress kPc{0x02, 0x54, 0x56, 0x00, 0x00, 0x01};
const MacAddress kModule{0x00, 0x0E, 0xE3, 0x00, 0x00, 0x07};

std::vector<std::uint8_t> Bytes(const FrameBuffer& f, std::size_t from, std::size_t to) {
  return {f.begin() + static_cast<long>(from), f.begin() + static_cast<long>(to)};
}

TEST(ModuleCommand, RebootOfAllModulesOnAStampedFrame) {
  FrameBuffer frame;
  frame.fill(0xAA);  // whatever the buffer held before is cleared
  FillModuleCommand(frame.data(), frame::kCmdReboot, 3, true, kPc, kModule, kNoParameter);
  StampFrame(frame.data(), frame::kRequestLength, 3, kModel740);
  EXPECT_EQ(Bytes(frame, 0, 23),
            (std::vector<std::uint8_t>{0x56, 0x48, 0x3A, 0x03, 0,    0,    0,    0,
                                       0,    0xC9, 0x04, 0x02, 0x54, 0x56, 0x00, 0x00,
                                       0x01, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}));
  EXPECT_EQ(Bytes(frame, 23, frame.size()), std::vector<std::uint8_t>(frame.size() - 23, 0));
}

TEST(ModuleCommand, CompanyIdStandsLittleEndianBehindTheHeaderAndZeroIsNoneAlike) {
  FrameBuffer ten{}, zero{}, none{};
  FillModuleCommand(ten.data(), frame::kCmdSetCompanyId, 3, false, kPc, kModule, 10);
  FillModuleCommand(zero.data(), frame::kCmdSetCompanyId, 3, false, kPc, kModule, 0);
  FillModuleCommand(none.data(), frame::kCmdSetCompanyId, 3, false, kPc, kModule, kNoParameter);
  EXPECT_EQ(Bytes(ten, 17, 27),
            (std::vector<std::uint8_t>{0x00, 0x0E, 0xE3, 0x00, 0x00, 0x07, 0x0A, 0, 0, 0}));
  EXPECT_EQ(zero, none);
  EXPECT_EQ(ten[frame::kCommand], 63);
}

TEST(ModuleCommand, TypeRowsAndModelsMapBothWaysAndNoRowIsNoModel) {
  EXPECT_EQ(ModelOfTypeIndex(0), kModel730);
  EXPECT_EQ(ModelOfTypeIndex(1), kModel740);
  EXPECT_EQ(ModelOfTypeIndex(2), kModel740P);
  EXPECT_EQ(ModelOfTypeIndex(-1), std::nullopt);
  EXPECT_EQ(ModelOfTypeIndex(3), std::nullopt);
  EXPECT_EQ(TypeIndexOfModel(ModelCodeOf("740P:AP")), 2);
  EXPECT_EQ(TypeIndexOfModel(ModelCodeOf("740:Client")), 1);
  EXPECT_EQ(TypeIndexOfModel(ModelCodeOf("G : default")), -1);
}

CellTable Modules(const std::vector<std::vector<std::string>>& rows) {
  CellTable t;
  for (int c = 0; c < kModuleColumnCount; ++c) t.InsertColumn(c, "", Align::Left, 10);
  for (const auto& r : rows) {
    std::vector<std::string> cells(kModuleColumnCount);
    cells[kColType] = r[0];
    cells[kColLanIp] = r[1];
    cells[kColWanIp] = r[2];
    t.AppendRow(std::move(cells));
  }
  return t;
}

TEST(FileTargets, JobModelFiltersOnlyTheTwoPlainModelsAndTheColumnFollowsUseLanIp) {
  const CellTable t = Modules({{"730:AP", "10.0.0.1", "172.16.0.1"},
                               {"740:AP", "10.0.0.2", "172.16.0.2"},
                               {"740P:AP", "10.0.0.3", ""},
                               {"730:Client", "10.0.0.4", "172.16.0.4"}});
  using L = std::vector<std::string>;
  EXPECT_EQ(FileTargetAddresses(t, kModel730, true), (L{"10.0.0.1", "10.0.0.4"}));
  EXPECT_EQ(FileTargetAddresses(t, kModel740, true), (L{"10.0.0.2"}));
  EXPECT_EQ(FileTargetAddresses(t, kModel740P, false),
            (L{"172.16.0.1", "172.16.0.2", "", "172.16.0.4"}));
  EXPECT_EQ(FileTargetAddresses(t, 0, true).size(), 4u);
  EXPECT_TRUE(FileTargetAddresses(Modules({}), kModel730, true).empty());
}

}  // namespace
}  // namespace torvek
