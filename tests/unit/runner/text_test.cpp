// Numbers and bytes as text, and the search for files.
#include "runner/text.h"

#include <gtest/gtest.h>

#include "unit/config/working_directory.h"

namespace orvo {
namespace {

TEST(Text, NumbersAreHexadecimalWithoutPadding) {
  EXPECT_EQ(IntToHex(0), "0");
  EXPECT_EQ(IntToHex(0xffffffff), "ffffffff");
  EXPECT_EQ(HexToInt("20000400"), 0x20000400u);
  EXPECT_EQ(HexToInt("0xDEADbeef"), 0xdeadbeefu);
  for (const char* text : {"", "0x", "g", "12 ", " 12", "-1", "+1", "1.0", "100000000"})
    EXPECT_THROW(HexToInt(text), UserError) << text;
}

TEST(Text, BytesSurviveTheWayThroughHex) {
  std::string bytes;
  for (int byte = 0; byte < 256; ++byte) bytes += static_cast<char>(byte);
  EXPECT_EQ(StringToHex("OK\x80"), "4f4b80");
  EXPECT_EQ(HexToString(StringToHex(bytes)), bytes);
  EXPECT_EQ(HexToString("4F4b"), "OK");
  for (const char* text : {"4", "4f4", "4g", "-1", "0x"})
    EXPECT_THROW(HexToString(text), UserError) << text;
}

TEST(FileSearch, GivesTheRealPathOfAFileOrNothing) {
  const WorkingDirectory directory;
  directory.Write("a.bin", "x");
  std::filesystem::create_symlink("a.bin", "link.bin");
  EXPECT_EQ(GetFilePath("./link.bin"), std::filesystem::canonical("a.bin").string());
  EXPECT_EQ(GetFilePath("b.bin"), "");
  EXPECT_EQ(GetFilePath(""), "");
}

TEST(FileSearch, TriesTheProjectThenTheCurrentDirectoryThenThatOfTheExecutable) {
  const WorkingDirectory directory;
  const auto search = [] { return GetFilePath("tools/orvo", ".zandor/p.elf", "p.elf"); };
  std::filesystem::create_directories("tools");
  std::filesystem::create_directories(".zandor");
  EXPECT_EQ(search(), "");
  for (const char* place : {"tools/p.elf", "p.elf", ".zandor/p.elf"}) {
    directory.Write(place, "x");
    EXPECT_EQ(search(), std::filesystem::canonical(place).string());
  }
}

}  // namespace
}  // namespace orvo
