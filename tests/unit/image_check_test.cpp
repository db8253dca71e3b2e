#include "admin/image_check.h"

#include <gtest/gtest.h>

#include <linux/capability.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "core/management_frame.h"

namespace torvek {
namespace {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

// Drops, for this process, the rights that make file modes moot.
void WithoutFileModeOverride() {
  __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
  __user_cap_data_struct data[2]{};
  if (syscall(SYS_capget, &header, data) != 0) return;
  for (unsigned cap : {CAP_DAC_OVERRIDE, CAP_DAC_READ_SEARCH, CAP_FOWNER})
    data[cap / 32].effective &= ~(1u << (cap % 32));
  syscall(SYS_capset, &header, data);
}

class ImageCheck : public ::testing::Test {
 protected:
  void SetUp() override {
    dir_ = fs::temp_directory_path() /
           ("torvek_image_" + std::to_string(::testing::UnitTest::GetInstance()->random_seed()) +
            "_" + ::testing::UnitTest::GetInstance()->current_test_info()->name());
    fs::create_directories(dir_);
  }
  void TearDown() override {
    std::error_code ignored;
    fs::permissions(dir_ / "f", fs::perms::owner_all, ignored);
    fs::remove_all(dir_, ignored);
  }
  // A file of size bytes with text at offset.
  std::string File(std::size_t size, std::size_t offset = 0, const std::string& text = {}) {
    std::string bytes(size, 'x');
    bytes.replace(offset, std::min(text.size(), size - std::min(size, offset)), text);
    const fs::path path = dir_ / "f";
    std::ofstream(path, std::ios::binary | std::ios::trunc)
        .write(bytes.data(), static_cast<std::streamsize>(size));
    return path.string();
  }
  fs::path dir_;
};

TEST_F(ImageCheck, LogoPassesUpToTenKAndAnythingThatBeginsWithGif) {
  EXPECT_EQ(CheckImagePath(kModel730, kOpLogo, File(10240, 0, "GIF")), Texts{});
  EXPECT_EQ(CheckImagePath(0x1234, kOpLogo, File(3, 0, "GIF")), Texts{});
  EXPECT_EQ(CheckImagePath(kModel740, kOpLogo, File(10241, 0, "GIF89a")),
            Texts{"Error: logo file is too big !!! (less than 10K bytes)"});
  EXPECT_EQ(CheckImagePath(kModel740, kOpLogo, File(100, 0, "gif")),
            (Texts{" Invalid logo file", "Error:Invalid module logo file format"}));
}

TEST_F(ImageCheck, ConfigurationSizeComesBeforeAnySignature) {
  const Texts wrongSize{"Error: config file is not 64K(65536) size"};
  EXPECT_EQ(CheckImagePath(kModel730, kOpConfiguration, File(65535, 0, "DW00")), wrongSize);
  EXPECT_EQ(CheckImagePath(kModel730, kOpConfiguration, File(65537, 0, "DW00")), wrongSize);
  EXPECT_EQ(CheckImagePath(kModel740, kOpConfiguration, File(65537, 0x2004, "Web")), wrongSize);
  EXPECT_EQ(CheckImagePath(kModel740P, kOpConfiguration, File(65537)), wrongSize);
  EXPECT_EQ(CheckImagePath(kModel730, kOpConfiguration, File(65536, 0, "DW00")), Texts{});
  EXPECT_EQ(CheckImagePath(kModel740, kOpConfiguration, File(65536, 0x2004, "Web")), Texts{});
  EXPECT_EQ(CheckImagePath(kModel740P, kOpConfiguration, File(65536)), Texts{});
  EXPECT_EQ(CheckImagePath(kModel740, kOpConfiguration, File(65536, 0, "DW00")),
            Texts{"Error:Invalid module(740) config file format"});
  EXPECT_EQ(CheckImagePath(kModel730, kOpConfiguration, File(65536, 0x2004, "Web")),
            Texts{"Error:Invalid module(730) config file format"});
}

TEST_F(ImageCheck, ConfigurationWithBothSignaturesPassesUnderEitherModel) {
  std::string path = File(65536, 0x2004, "Web");
  std::fstream(path, std::ios::in | std::ios::out | std::ios::binary).write("DW00", 4);
  EXPECT_EQ(CheckImagePath(kModel730, kOpConfiguration, path), Texts{});
  EXPECT_EQ(CheckImagePath(kModel740, kOpConfiguration, path), Texts{});
}

TEST_F(ImageCheck, FirmwareSignaturesByModel) {
  const Texts bad740{"Error:Invalid module(740) firmware file format"};
  EXPECT_EQ(CheckImagePath(kModel730, kOpFirmware, File(4, 0, "KERN")), Texts{});
  EXPECT_EQ(CheckImagePath(kModel740, kOpFirmware, File(36, 32, "Linu")), Texts{});
  // Bytes 32..35 are not all the file's: the zeros of the buffer do not match.
  EXPECT_EQ(CheckImagePath(kModel740, kOpFirmware, File(35, 32, "Lin")), bad740);
  EXPECT_EQ(CheckImagePath(kModel730, kOpFirmware, File(0)),
            Texts{"Error:Invalid module(730) firmware file format"});
  // Other models have no signature; an empty file is stopped later.
  EXPECT_EQ(CheckImagePath(kModel740P, kOpFirmware, File(0)), Texts{});
}

TEST_F(ImageCheck, MissingOrReadOnlyFileReadsAsZeros) {
  EXPECT_EQ(CheckImagePath(kModel730, kOpFirmware, (dir_ / "none").string()),
            Texts{"Error:Invalid module(730) firmware file format"});
  EXPECT_EQ(CheckImagePath(kModel730, kOpLogo, (dir_ / "none").string()),
            Texts{"Error: logo file is too big !!! (less than 10K bytes)"});
  const std::string path = File(64, 0, "KERN");
  fs::permissions(path, fs::perms::owner_read);
  // Run as an operator would be: a child without the rights that let root
  // write any file.
  EXPECT_EXIT(
      {
        WithoutFileModeOverride();
        const bool refused = CheckImagePath(kModel730, kOpFirmware, path) ==
                             Texts{"Error:Invalid module(730) firmware file format"};
        std::_Exit(refused ? 0 : 1);
      },
      ::testing::ExitedWithCode(0), "");
}

TEST_F(ImageCheck, UnknownOperationIsRefused) {
  EXPECT_EQ(CheckImagePath(kModel730, 3, File(10, 0, "GIF")), Texts{" Invalid File selection"});
  EXPECT_EQ(CheckImagePath(kModel730, -1, File(10)), Texts{" Invalid File selection"});
}

}  // namespace
}  // namespace torvek
