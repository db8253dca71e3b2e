#include "core/module_record.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "core/management_frame.h"

namespace torvek {
namespace {

// Records are built here byte by byte from the layout, not through the
// tool's own writers.
struct RecordBytes {
  std::vector<std::uint8_t> b = std::vector<std::uint8_t>(1225, 0);

  RecordBytes(std::uint16_t model, int version) {
    b[3] = static_cast<std::uint8_t>(version);
    b[2] = 2;
    if (version < 3) {
      b[0] = model >> 8;
      b[1] = model & 0xFF;
    } else {
      b[0] = model & 0xFF;
      b[1] = model >> 8;
    }
    const std::uint8_t mac[6] = {0x00, 0x0E, 0xE3, 0x01, 0x02, 0x03};
    std::memcpy(&b[11], mac, 6);
    Put(24, {192, 168, 1, 254});
    Put(28, {255, 255, 255, 0});
    Put(32, {192, 168, 1, 1});
    b[23] = 1;
    std::memcpy(&b[42], "lab-ssid", 8);
    Put(74, {10, 0, 0, 9});
    Put(78, {255, 0, 0, 0});
    Put(82, {10, 0, 0, 1});
    b[86] = 2;
    const std::uint8_t wanMac[6] = {0x02, 0, 0, 0, 0, 0x09};
    std::memcpy(&b[87], wanMac, 6);
    std::memcpy(&b[93], "1.6.0003", 8);
    b[101] = 1;
    std::memcpy(&b[102], "lobby", 5);
  }
  void Put(std::size_t at, std::initializer_list<int> bytes) {
    for (int v : bytes) b[at++] = static_cast<std::uint8_t>(v);
  }
};

TEST(RowFromRecord, Version3Orb730GivesEveryColumn) {
  RecordBytes r(0x4855, 3);
  EXPECT_EQ(r.b[0], 0x55);
  const ModuleRow row = RowFromRecord(r.b.data(), r.b.size(), 0);
  const std::array<std::string, 14> expected = {"lobby",
                                                "730:gw",
                                                "192.168.1.254",
                                                "255.255.255.0",
                                                "192.168.1.1",
                                                "1",
                                                "00-0E-E3-01-02-03",
                                                "lab-ssid",
                                                "10.0.0.9",
                                                "255.0.0.0",
                                                "10.0.0.1",
                                                "02-00-00-00-00-09",
                                                "pppoe",
                                                "3 : 1.6.0003 "};
  EXPECT_EQ(row.cells, expected);
  EXPECT_FALSE(row.typeBackground);
}

TEST(RowFromRecord, ModelsByTheWordRuleWithTheirColours) {
  const ModuleRow v2 = RowFromRecord(RecordBytes(0x4856, 2).b.data(), 1225, 0);
  EXPECT_EQ(v2.cells[kColType], "740:gw");
  EXPECT_EQ(v2.typeBackground, kColor740);
  const ModuleRow p = RowFromRecord(RecordBytes(0x4857, 3).b.data(), 1225, 0);
  EXPECT_EQ(p.cells[kColType], "740P:gw");
  EXPECT_EQ(p.typeBackground, 0x969696u);
  // A v3 word read big-endian would be 0x5548: the record's own version decides.
  RecordBytes wrongOrder(0x4855, 3);
  wrongOrder.b[3] = 2;
  EXPECT_EQ(RowFromRecord(wrongOrder.b.data(), 1225, 6).cells[kColType], "  7:gw");
}

TEST(RowFromRecord, Version1IgnoresWanBytesAndEndsTwelveBytesEarlier) {
  RecordBytes r(0x4855, 1);
  const ModuleRow row = RowFromRecord(r.b.data(), r.b.size(), 0);
  for (int c : {kColWanIp, kColWanSubnet, kColWanGateway, kColWanMac, kColIpType})
    EXPECT_EQ(row.cells[static_cast<std::size_t>(c)], "") << c;
  EXPECT_EQ(row.cells[kColVersion], "1 : 1.6.0003 ");

  // A name that fills the record runs to 1213 bytes for version 1, 1225 otherwise.
  std::memset(&r.b[102], 'n', 1225 - 102);
  EXPECT_EQ(RowFromRecord(r.b.data(), r.b.size(), 0).cells[kColName].size(), 1213u - 102);
  r.b[3] = 3;
  EXPECT_EQ(RowFromRecord(r.b.data(), r.b.size(), 0).cells[kColName].size(), 1225u - 102);
}

TEST(RowFromRecord, TextRulesForOddValues) {
  RecordBytes r(0x4855, 12);
  r.b[0] = 0x55;
  r.b[1] = 0x48;
  r.b[101] = 5;                    // unknown mode
  r.b[86] = 6;                     // unknown ip type
  std::memset(&r.b[102], 0, 16);   // no name
  std::memset(&r.b[42], 'S', 32);  // ssid without terminator
  r.b[96] = 0;                     // firmware with a zero inside
  const ModuleRow row = RowFromRecord(r.b.data(), r.b.size(), 0);
  EXPECT_EQ(row.cells[kColType], "730:none");
  EXPECT_EQ(row.cells[kColIpType], "None");
  EXPECT_EQ(row.cells[kColName], "None");
  EXPECT_EQ(row.cells[kColSsid], std::string(32, 'S'));
  EXPECT_EQ(row.cells[kColVersion], "12 : 1.6");
  EXPECT_EQ(ModeText(0), "ap");
  EXPECT_EQ(ModeText(4), "adh");
  EXPECT_EQ(IpTypeText(5), "3G");
}

TEST(RowFromRecord, ShortDatagramReadsZerosAndNothingBeyond) {
  RecordBytes r(0x4856, 3);
  // Only 50 bytes arrived; a heap copy of exactly that size lets ASan see any over-read.
  std::vector<std::uint8_t> shortOne(r.b.begin(), r.b.begin() + 50);
  const ModuleRow row = RowFromRecord(shortOne.data(), shortOne.size(), 0);
  EXPECT_EQ(row.cells[kColLanIp], "192.168.1.254");
  EXPECT_EQ(row.cells[kColSsid], "lab-ssid");
  EXPECT_EQ(row.cells[kColWanIp], "0.0.0.0");
  EXPECT_EQ(row.cells[kColType], "740:ap");
  EXPECT_EQ(row.cells[kColName], "None");
  EXPECT_EQ(row.cells[kColVersion], "3 : ");
  const ModuleRow empty = RowFromRecord(shortOne.data(), 0, 4);
  EXPECT_EQ(empty.cells[kColType], "  5:ap");
}

TEST(AddModuleRecord, RepeatsAndDuplicateMacsGiveOneRowWithTheFirstData) {
  CellTable list;
  list.SetKeyColumn(kColMac);
  for (int c = 0; c < kModuleColumnCount; ++c)
    list.InsertColumn(c, kModuleColumns[static_cast<std::size_t>(c)].header, Align::Center,
                      kModuleColumns[static_cast<std::size_t>(c)].width);
  RecordBytes first(0x4856, 3);
  RecordBytes changed(0x4856, 3);
  std::memcpy(&changed.b[102], "other", 5);
  EXPECT_EQ(AddModuleRecord(list, first.b.data(), 1225), 0);
  for (int i = 0; i < 9; ++i) EXPECT_EQ(AddModuleRecord(list, changed.b.data(), 1225), -1);
  ASSERT_EQ(list.RowCount(), 1);
  EXPECT_EQ(list.GetItemText(0, kColName), "lobby");
  EXPECT_EQ(list.GetCellBackground(0, kColType), kColor740);
  EXPECT_EQ(list.GetCellBackground(0, kColName), kSystemColor);

  RecordBytes second(0x4855, 2);
  second.b[16] = 0x99;
  EXPECT_EQ(AddModuleRecord(list, second.b.data(), 1225), 1);
  EXPECT_EQ(list.FindRow("00-0E-E3-01-02-99"), 1);
  EXPECT_EQ(list.FindRow("00-0e-e3-01-02-99"), -1);  // case-sensitive
}

}  // namespace
}  // namespace torvek
