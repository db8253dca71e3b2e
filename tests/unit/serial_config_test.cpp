#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>

#include "terminals/serial_config.h"

namespace torvek {
namespace {

class SerialConfigFile : public ::testing::Test {
 protected:
  void SetUp() override {
    dir_ = std::filesystem::temp_directory_path() /
           ("torvek_serial_" + std::to_string(::testing::UnitTest::GetInstance()->random_seed()) +
            ::testing::UnitTest::GetInstance()->current_test_info()->name());
    std::filesystem::create_directories(dir_);
  }
  void TearDown() override { std::filesystem::remove_all(dir_); }
  std::string Path(const char* name) const { return (dir_ / name).string(); }
  std::filesystem::path dir_;
};

TEST_F(SerialConfigFile, TwentyFourLittleEndianBytesRoundTrip) {
  const SerialConfig config{4, 12, 2, 1, 2, 0};
  ASSERT_TRUE(SaveSerialConfig(Path("serial_config.dat"), config));
  std::ifstream in(Path("serial_config.dat"), std::ios::binary);
  const std::string bytes((std::istreambuf_iterator<char>(in)), {});
  EXPECT_EQ(bytes, std::string("\4\0\0\0\x0c\0\0\0\2\0\0\0\1\0\0\0\2\0\0\0\0\0\0\0", 24));
  SerialConfig back{};
  back.baud = 0;
  ASSERT_TRUE(LoadSerialConfig(Path("serial_config.dat"), back));
  EXPECT_EQ(EncodeSerialConfig(back), EncodeSerialConfig(config));
}

TEST_F(SerialConfigFile, MissingGivesDefaultsAndShortFileKeepsDefaultsBehindItsEnd) {
  SerialConfig config{7, 0, 0, 1, 1, 9};
  EXPECT_FALSE(LoadSerialConfig(Path("none.dat"), config));
  EXPECT_EQ(EncodeSerialConfig(config), EncodeSerialConfig(SerialConfig{}));
  EXPECT_EQ(BaudOfRow(config.baud), 57600u);
  EXPECT_EQ(DataBitsOfRow(config.dataBits), 8);

  std::ofstream(Path("short.dat"), std::ios::binary).write("\2\0\0\0\x0e", 5);
  ASSERT_TRUE(LoadSerialConfig(Path("short.dat"), config));
  EXPECT_EQ(config.port, 2u);
  EXPECT_EQ(config.baud, 14u);  // the low byte came from the file
  EXPECT_EQ(config.dataBits, 3u);
}

TEST(SerialConfigRows, RowsOutOfRangeFallBackToTheDefaults) {
  EXPECT_EQ(BaudOfRow(14), 256000u);
  EXPECT_EQ(BaudOfRow(15), 57600u);
  EXPECT_EQ(BaudOfRow(0xFFFFFFFFu), 57600u);
  EXPECT_EQ(DataBitsOfRow(0), 5);
  EXPECT_EQ(DataBitsOfRow(4), 8);
  EXPECT_EQ(PortRowInRange(98), 98u);
  EXPECT_EQ(PortRowInRange(99), 0u);
  EXPECT_EQ(PortName(0xFFFFFFFFu), "COM4294967296");
}

TEST_F(SerialConfigFile, PortNamesResolveToDevicesAndAFileBesideTheProgramWins) {
  const std::string dir = dir_.string() + "/";
  EXPECT_EQ(SerialDevicePath(0, dir), "/dev/ttyS0");
  EXPECT_EQ(SerialDevicePath(31, dir), "/dev/ttyS31");
  EXPECT_EQ(SerialDevicePath(32, dir), "/dev/ttyUSB0");
  EXPECT_EQ(SerialDevicePath(95, dir), "/dev/ttyACM31");
  EXPECT_EQ(SerialDevicePath(96, dir), std::nullopt);
  // A dangling link still names the port: opening it then fails as it should.
  std::filesystem::create_symlink("/nonexistent/pts/77", dir_ / "COM3");
  EXPECT_EQ(SerialDevicePath(2, dir), dir + "COM3");
}

}  // namespace
}  // namespace torvek
