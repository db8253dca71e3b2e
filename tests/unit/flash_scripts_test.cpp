#include "upgrade/flash_scripts.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace torvek {
namespace {

using Kind = ScriptAction::Kind;
using Strings = std::vector<std::string>;

Strings Sends(const ScriptActions& actions) {
  Strings out;
  for (const ScriptAction& a : actions)
    if (a.kind == Kind::Send) out.push_back(a.text);
  return out;
}

std::vector<std::pair<int, std::string>> Labels(const ScriptActions& actions) {
  std::vector<std::pair<int, std::string>> out;
  for (const ScriptAction& a : actions)
    if (a.kind == Kind::SetLabel) out.emplace_back(a.id, a.text);
  return out;
}

FlashRun NewRun(std::array<int, kImageCount> ticked) {
  FlashRun run;
  run.moduleIp = "192.168.1.3";
  run.hostIp = "192.168.1.2";
  run.ticked = ticked;
  return run;
}

const ScriptActions kEnd = {
    {Kind::Beep},
    {Kind::Sleep, {}, 0, 50},
    {Kind::Beep},
    {Kind::Sleep, {}, 0, 50},
    {Kind::Send, "reset\n\r"},
    {Kind::End},
    {Kind::SetLabel, "System is now rebooting !!!", kStatusLabel},
};

// Everything a run sent, step by step, for the dialogue a boot loader gives.
Strings Dialogue(FlashRun& run, const Strings& chunks, bool redBoot) {
  Strings sent;
  for (const std::string& chunk : chunks) {
    const ScriptActions actions =
        redBoot ? RunRedBootScript(run, chunk) : RunUBootScript(run, chunk);
    for (const std::string& s : Sends(actions)) sent.push_back(s);
  }
  return sent;
}

TEST(RedBootScript, BreakInWaitsForRedBootThenSendsAddressesAndSleeps) {
  FlashRun run = NewRun({1, 1, 1, 1, 1});
  EXPECT_EQ(RunRedBootScript(run, "\x03"),
            (ScriptActions{{Kind::SetLabel, "In Process", kStatusLabel}}));
  EXPECT_EQ(run.upgradeStep, 0u);
  // The banner as well as the prompt ends the break-in.
  EXPECT_EQ(RunRedBootScript(run, "RedBoot(tm) bootstrap and debug environment\r"),
            (ScriptActions{{Kind::SetLabel, "In Process", kStatusLabel},
                           {Kind::StopTimer},
                           {Kind::Send, "ip_address -l 192.168.1.3 -h 192.168.1.2\n\r"},
                           {Kind::Sleep, {}, 0, 600}}));
  EXPECT_EQ(run.upgradeStep, 1u);
}

TEST(RedBootScript, AllFiveImagesGoThroughLoadCreateConfirmAndPrompt) {
  FlashRun run = NewRun({1, 1, 1, 1, 1});
  Strings chunks = {"RedBoot>", "IP: 192.168.1.3/255.255.255.0, Gateway: 0.0.0.0\r",
                    "Default server: 192.168.1.2\r"};
  for (int i = 0; i < 5; ++i)
    for (const char* c : {"Raw file loaded 0x80100000-0x8013ffff, assumed entry at 0x80100000\r",
                          "An image named 'x' exists - continue (y/n)?", "RedBoot>"})
      chunks.push_back(c);
  EXPECT_EQ(
      Dialogue(run, chunks, true),
      (Strings{
          "ip_address -l 192.168.1.3 -h 192.168.1.2\n\r",
          "load -r -b 0x80100000 ap61.rom\n\r",
          "fis create -l 0x30000 -e 0xbfc00000 RedBoot\n\r",
          "y\r",
          "load -r -b 0x80100000 sqfs.ap61.bin\n\r",
          "fis create -f 0xbfc30000 -e 0 rootfs\n\r",
          "y\r",
          "load -r -b 0x80100000 vmlinux.ap61.bin.l7\n\r",
          "fis create -l 0x90000 -f 0xbff40000 -e 0x801f8040 -r 0x80041000 vmlinux.bin.l7\n\r",
          "y\r",
          "load -r -b 0x80100000 wbp.GENERIC.KRL5506.gw.bin\n\r",
          "fis create -f 0xbff30000 -e 0 web\n\r",
          "y\r",
          "load -r -b 0x80100000 cfg.GENERIC.KRL5506.gw.bin\n\r",
          "fis create -f 0xbffd0000 -e 0 cfg\n\r",
          "y\r",
          "reset\n\r",
      }));
  EXPECT_EQ(run.upgradeStep, 16u);
  EXPECT_EQ(run.lastFlashStep, 15);
}

TEST(RedBootScript, EachStepWritesItsRowAndIgnoresOtherText) {
  FlashRun run = NewRun({1, 1, 0, 0, 0});
  RunRedBootScript(run, "RedBoot>");
  // Step 1 marks the row on every chunk, hit or not.
  EXPECT_EQ(Labels(RunRedBootScript(run, "IP: 1.2.3.4\r")),
            (std::vector<std::pair<int, std::string>>{{1069, "Downing Image file via TFTP"}}));
  EXPECT_EQ(run.upgradeStep, 1u);
  RunRedBootScript(run, "Default server: 192.168.1.2\r");
  // Error output moves nothing; the match is case-sensitive.
  EXPECT_TRUE(RunRedBootScript(run, "Can't load 'ap61.rom': file not found\r").empty());
  EXPECT_TRUE(RunRedBootScript(run, "raw file loaded\r").empty());
  EXPECT_EQ(
      Labels(RunRedBootScript(run, "Raw file loaded 0x80100000\r")),
      (std::vector<std::pair<int, std::string>>{{1069, "Image file is well downloaded via TFTP"}}));
  auto confirm = RunRedBootScript(run, "continue (y/n)?");
  EXPECT_EQ(Labels(confirm),
            (std::vector<std::pair<int, std::string>>{{1069, "Writing image file to Flash..."}}));
  EXPECT_EQ(Sends(confirm), Strings{"y\r"});
  EXPECT_EQ(run.lastFlashStep, 3);
  // The prompt after the write: the row is done, File System is next.
  EXPECT_EQ(RunRedBootScript(run, "RedBoot>"),
            (ScriptActions{{Kind::SetLabel, "Flash writing is well done.", 1069},
                           {Kind::SetLabel, "Downing Image file via TFTP", 1070},
                           {Kind::Send, "load -r -b 0x80100000 sqfs.ap61.bin\n\r"}}));
  EXPECT_EQ(run.upgradeStep, 5u);
  RunRedBootScript(run, "Raw file loaded\r");
  RunRedBootScript(run, "continue?");
  // The last ticked image: its prompt passes the unticked rest and resets.
  ScriptActions last = RunRedBootScript(run, "RedBoot>");
  ASSERT_FALSE(last.empty());
  EXPECT_EQ(last.front(), (ScriptAction{Kind::SetLabel, "Flash writing is well done.", 1070}));
  EXPECT_EQ(ScriptActions(last.begin() + 1, last.end()), kEnd);
}

TEST(RedBootScript, UntickedImagesAreSkippedInOnePass) {
  // No boot loader: straight to step 4, no wait for "Default server".
  FlashRun run = NewRun({0, 0, 0, 0, 1});
  RunRedBootScript(run, "RedBoot>");
  EXPECT_EQ(run.upgradeStep, 4u);
  EXPECT_TRUE(Sends(RunRedBootScript(run, "Default server: 1.2.3.4\r")).empty());
  // One prompt passes steps 4, 7, 10 and 13; the config row keeps "Ready".
  EXPECT_EQ(RunRedBootScript(run, "RedBoot>"),
            (ScriptActions{{Kind::Send, "load -r -b 0x80100000 cfg.GENERIC.KRL5506.gw.bin\n\r"}}));
  EXPECT_EQ(run.upgradeStep, 14u);

  FlashRun some = NewRun({0, 1, 0, 1, 0});
  EXPECT_EQ(Dialogue(some,
                     {"RedBoot>", "RedBoot>", "Raw file loaded\r", "continue?", "RedBoot>",
                      "Raw file loaded\r", "continue?", "RedBoot>"},
                     true),
            (Strings{"ip_address -l 192.168.1.3 -h 192.168.1.2\n\r",
                     "load -r -b 0x80100000 sqfs.ap61.bin\n\r",
                     "fis create -f 0xbfc30000 -e 0 rootfs\n\r", "y\r",
                     "load -r -b 0x80100000 wbp.GENERIC.KRL5506.gw.bin\n\r",
                     "fis create -f 0xbff30000 -e 0 web\n\r", "y\r", "reset\n\r"}));
}

TEST(RedBootScript, ARowIsDoneOnlyWhenItsWriteWasConfirmed) {
  FlashRun run = NewRun({0, 1, 0, 0, 0});
  RunRedBootScript(run, "RedBoot>");
  RunRedBootScript(run, "RedBoot>");
  RunRedBootScript(run, "Raw file loaded\r");
  run.upgradeStep = 7;  // as if the question had never come
  const auto labels = Labels(RunRedBootScript(run, "RedBoot>"));
  ASSERT_FALSE(labels.empty());  // the step did set its labels
  for (const auto& [id, text] : labels) EXPECT_NE(text, "Flash writing is well done.");
}

TEST(UBootScript, AllThreeImagesCarryTheSizeAsPrinted) {
  FlashRun run = NewRun({1, 0, 1, 0, 1});
  Strings chunks = {"4", "Please choose the operation: Enter your choice\r", "RT30>", "RT30>"};
  for (const char* size : {"0x2e5c4", "1193046", "  0x10000 "}) {
    chunks.push_back(std::string("NetBootFileXferSize=") + size + "\r");
    chunks.push_back("Erased 3 sectors done\r");
    chunks.push_back("Copy to Flash... done\r");
    chunks.push_back("RT30>");
  }
  EXPECT_EQ(Dialogue(run, chunks, false),
            (Strings{
                "setenv ipaddr 192.168.1.3;setenv serverip 192.168.1.2\n",
                "tftp 80100000 loader.bin\n",
                "protect off 1:0-2;erase 1:0-2\n",
                "cp.b 80100000 bf000000 0x2e5c4 \n",
                "tftp 80100000 kernel.bin\n",
                "erase 1:5-63\n",
                "cp.b 80100000 bf050000 1193046 \n",
                "tftp 80100000 config.bin\n",
                "protect off 1:3;erase 1:3\n",
                "cp.b 80100000 bf030000   0x10000  \n",
                "reset\n\r",
            }));
  EXPECT_EQ(run.upgradeStep, 14u);
}

TEST(UBootScript, BootLoaderRowsAndStepsInOrder) {
  FlashRun run = NewRun({1, 0, 0, 0, 0});
  EXPECT_TRUE(RunUBootScript(run, "RT30>").empty());  // nothing before the menu
  EXPECT_EQ(RunUBootScript(run, "Enter\r"), (ScriptActions{{Kind::StopTimer}}));
  RunUBootScript(run, "RT30>");
  EXPECT_EQ(run.upgradeStep, 2u);
  // Step 2 marks its row on every chunk.
  EXPECT_EQ(RunUBootScript(run, "\n"),
            (ScriptActions{{Kind::SetLabel, "Downing Image file via TFTP", 1069}}));
  RunUBootScript(run, "RT30>");
  EXPECT_EQ(RunUBootScript(run, "NetBootFileXferSize=0x1f000\r"),
            (ScriptActions{{Kind::SetLabel, "Image file is well downloaded via TFTP", 1069},
                           {Kind::Send, "protect off 1:0-2;erase 1:0-2\n"},
                           {Kind::SetLabel, "Erasing flash memory....", 1069}}));
  EXPECT_EQ(run.pendingFlashCommand, "cp.b 80100000 bf000000 0x1f000 \n");
  EXPECT_EQ(RunUBootScript(run, "Erase done\r"),
            (ScriptActions{{Kind::SetLabel, "Image file is well downloaded via TFTP", 1069},
                           {Kind::Send, "cp.b 80100000 bf000000 0x1f000 \n"}}));
  EXPECT_EQ(RunUBootScript(run, "Copy to Flash... "),
            (ScriptActions{{Kind::SetLabel, "Writing image file to Flash...", 1069}}));
  EXPECT_EQ(RunUBootScript(run, "done\r"),
            (ScriptActions{{Kind::SetLabel, "Writing image file to Flash...", 1069},
                           {Kind::SetLabel, "Flash writing is well done.", 1069}}));
  // After the last ticked image the next prompt ends the run.
  EXPECT_EQ(RunUBootScript(run, "RT30>"), kEnd);
}

TEST(UBootScript, UntickedImagesAreSkippedOnOnePrompt) {
  // Only Config File: steps 0, 1, 6, and the prompt at 6 passes step 10.
  FlashRun run = NewRun({0, 0, 0, 0, 1});
  RunUBootScript(run, "Enter");
  RunUBootScript(run, "RT30>");
  EXPECT_EQ(run.upgradeStep, 6u);
  EXPECT_EQ(RunUBootScript(run, "RT30>"),
            (ScriptActions{{Kind::Send, "tftp 80100000 config.bin\n"},
                           {Kind::SetLabel, "Downing Image file via TFTP", 1078}}));
  EXPECT_EQ(run.upgradeStep, 11u);

  // Only the hidden boxes: the first prompt after the addresses resets.
  FlashRun hidden = NewRun({0, 1, 0, 1, 0});
  RunUBootScript(hidden, "Enter");
  RunUBootScript(hidden, "RT30>");
  EXPECT_EQ(RunUBootScript(hidden, "RT30>"), kEnd);
}

TEST(UBootScript, SizeTextDropsLineEndsAndTheNameWithOneCharacter) {
  EXPECT_EQ(UBootSizeText("NetBootFileXferSize=0x2e5c4\r"), "0x2e5c4");
  EXPECT_EQ(UBootSizeText("NetBootFileXferSize:\r\n12\r34\n"), "1234");
  // Not checked: text ahead of the name shifts the cut, no value leaves nothing.
  EXPECT_EQ(UBootSizeText("xxNetBootFileXferSize=5\r"), "e=5");
  EXPECT_EQ(UBootSizeText("NetBootFileXferSize\r"), "");
}

TEST(FlashScripts, BreakInByteByTarget) {
  EXPECT_EQ(BreakInByte(0), '\x03');
  EXPECT_EQ(BreakInByte(1), '4');
}

TEST(ModuleIp, FollowsThePcAddress) {
  EXPECT_EQ(ModuleIpOf("192.168.10.0"), "192.168.10.1");
  EXPECT_EQ(ModuleIpOf("192.168.10.1"), "192.168.10.2");
  EXPECT_EQ(ModuleIpOf("192.168.10.100"), "192.168.10.101");
  EXPECT_EQ(ModuleIpOf("192.168.10.253"), "192.168.10.254");
  EXPECT_EQ(ModuleIpOf("192.168.10.254"), "192.168.10.253");
  EXPECT_EQ(ModuleIpOf("192.168.10.255"), "192.168.10.254");
  EXPECT_EQ(ModuleIpOf(""), std::nullopt);
  EXPECT_EQ(ModuleIpOf("10.0.0"), std::nullopt);
  EXPECT_EQ(ModuleIpOf("fe80::1"), std::nullopt);
}

}  // namespace
}  // namespace torvek
