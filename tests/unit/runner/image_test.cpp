// Firmware files: which words they give, and which files are refused.
#include "runner/image.h"

#include <gmock/gmock.h>

#include <string>
#include <utility>
#include <vector>

#include "runner/errors.h"
#include "unit/config/working_directory.h"

namespace orvo {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Pair;
using testing::StartsWith;

constexpr unsigned kBase = 0x08000000;

using Words = std::vector<std::pair<unsigned, unsigned>>;

class ImageFile : public testing::Test {
 protected:
  Words ReadAll(const std::string& path, unsigned base = kBase) {
    const auto image = Image::CreateImage(path, base);
    image->Load();
    image->StartRead();
    Words words;
    unsigned address = 0;
    unsigned value = 0;
    while (image->GetNextData(&address, &value)) words.emplace_back(address, value);
    size = image->Size();
    image->Close();
    return words;
  }
  Words ReadHex(const std::string& text) {
    directory.Write("a.hex", text);
    return ReadAll("a.hex");
  }
  Words ReadBin(const std::string& bytes) {
    directory.Write("a.bin", bytes);
    return ReadAll("a.bin");
  }
  WorkingDirectory directory;
  unsigned long size = 0;
};

TEST_F(ImageFile, BinaryOfWholeWordsEndsWithOneMoreZeroWord) {
  EXPECT_THAT(
      ReadBin(std::string("\x01\x02\x03\x04\x05\x06\x07\x88", 8)),
      ElementsAre(Pair(kBase, 0x04030201), Pair(kBase + 4, 0x88070605), Pair(kBase + 8, 0)));
  EXPECT_EQ(size, 8u);
}

TEST_F(ImageFile, BinaryWithAShortLastWordIsFilledUpWithZeroBytes) {
  EXPECT_THAT(ReadBin("\x01\x02\x03\x04\x05"),
              ElementsAre(Pair(kBase, 0x04030201), Pair(kBase + 4, 0x00000005)));
  EXPECT_EQ(size, 5u);
}

TEST_F(ImageFile, StartReadGoesBackToTheFirstWord) {
  directory.Write("a.bin", "abcdef");
  directory.Write("a.hex", ":0400000001020304F2\n:00000001FF\n");
  for (const char* path : {"a.bin", "a.hex"}) {
    const auto image = Image::CreateImage(path, 0);
    image->Load();
    unsigned address = 0;
    unsigned first = 0;
    unsigned again = 0;
    image->StartRead();
    while (image->GetNextData(&address, &first)) {
    }
    image->StartRead();
    ASSERT_TRUE(image->GetNextData(&address, &again)) << path;
    EXPECT_EQ(address, 0u) << path;
    EXPECT_NE(again, 0u) << path;
  }
}

TEST_F(ImageFile, HexWordsAreInTheOrderOfMemory) {
  EXPECT_THAT(ReadHex(":0801000001020304a5B6c7D8FF\n:00000001FF\n"),
              ElementsAre(Pair(0x100, 0x04030201), Pair(0x104, 0xd8c7b6a5)));
  EXPECT_EQ(size, 8u);
}

TEST_F(ImageFile, HexRecordThatIsNoMultipleOfAWordRepeatsBytes) {
  EXPECT_THAT(ReadHex(":06002000010203040506C5\n:07004000010203040506079D\n:00000001FF\n"),
              ElementsAre(Pair(0x20, 0x04030201), Pair(0x22, 0x06050403), Pair(0x40, 0x04030201),
                          Pair(0x43, 0x07060504)));
}

TEST_F(ImageFile, HexBasesAddUpAndStartAddressesAreSkipped) {
  EXPECT_THAT(ReadHex(":020000040800F2\n"      // linear base 0x08000000
                      ":04000000AABBCCDDEE\n"  //
                      ":020000021000EC\n"      // segment base 0x10000
                      ":0400040001020304EE\n"  //
                      ":0400000508000199"
                      "55\n"                   // start address
                      ":0400000300003800C1\n"  //
                      ":020000040801F1\n"      //
                      ":0400000011223344"
                      "00\n"  // checksums are not tested
                      ":00000001FF\n"
                      "what stands behind the end is not read\n"),
              ElementsAre(Pair(0x08000000, 0xddccbbaa), Pair(0x08010004, 0x04030201),
                          Pair(0x08020000, 0x44332211)));
}

TEST_F(ImageFile, HexLinesMayEndWithCrLfAndBlankLinesAreSkipped) {
  EXPECT_THAT(ReadHex("\r\n:0400000001020304F2\r\n\n:00000001FF"),
              ElementsAre(Pair(0, 0x04030201)));
}

TEST_F(ImageFile, HexRecordOfUnknownTypeHasNoEffectButAWarning) {
  testing::internal::CaptureStderr();
  EXPECT_THAT(ReadHex(":0400000701020304EB\n:0400100001020304E2\n:00000001FF\n"),
              ElementsAre(Pair(0x10, 0x04030201)));
  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              StartsWith("Warning: a.hex:1: a record of unknown type 7"));
}

struct BadHexCase {
  const char* name;
  const char* text;
  const char* message;
};

std::ostream& operator<<(std::ostream& out, const BadHexCase& c) { return out << c.name; }

class BadHex : public ImageFile, public testing::WithParamInterface<BadHexCase> {};

TEST_P(BadHex, IsRefusedWithFileAndLine) {
  EXPECT_THAT(ErrorOf([this] { ReadHex(GetParam().text); }), HasSubstr(GetParam().message));
}

#define GOOD ":0400000001020304F2\n"
// clang-format off
INSTANTIATE_TEST_SUITE_P(Table, BadHex, testing::Values(
    BadHexCase{"garbage",         GOOD "hello\n",                     "a.hex:2: not a HEX record"},
    BadHexCase{"binary",          "\x7f" "ELF\x01\x01\n",             "a.hex:1: not a HEX record"},
    BadHexCase{"no_digit",        GOOD ":04000000010X0304F2\n",       "a.hex:2: no hexadecimal digit in column 13"},
    BadHexCase{"odd",             ":0400000001020304F\n",             "a.hex:1: an odd number of hexadecimal digits"},
    BadHexCase{"colon_only",      GOOD ":\n",                         "a.hex:2: a record shorter than"},
    BadHexCase{"short_header",    ":04000\n",                         "a.hex:1: an odd number"},
    BadHexCase{"truncated",       GOOD GOOD ":10002000010203\n",      "a.hex:3: the byte count tells of 16 bytes of data, but there are 2"},
    BadHexCase{"no_checksum",     ":0400000001020304\n",              "tells of 4 bytes of data, but there are 3"},
    BadHexCase{"too_long",        ":0400000001020304F200\n",          "tells of 4 bytes of data, but there are 5"},
    BadHexCase{"two_in_one_line", ":00000001FF:00000001FF\n",         "a.hex:1: no hexadecimal digit in column 12"},
    BadHexCase{"no_end",          GOOD,                               "a.hex:2: the file ends without an end-of-file record"},
    BadHexCase{"blank",           "\n\n",                             "a.hex:3: the file ends without an end-of-file record"},
    BadHexCase{"short_data",      GOOD ":03001000010203E7\n",         "OrvoError: Parsing hex file was failed (a.hex:2: a data record of 3 bytes"},
    BadHexCase{"no_data",         ":00001000F0\n",                    "OrvoError: Parsing hex file was failed (a.hex:1: a data record of 0 bytes"},
    BadHexCase{"base_of_1_byte",  ":0100000408F3\n",                  "a.hex:1: a base address of 1 bytes"}),
    [](const auto& test) { return test.param.name; });
// clang-format on
#undef GOOD

TEST_F(ImageFile, FileThatCannotBeReadIsRefused) {
  directory.Write("empty.bin", "");
  directory.Write("empty.hex", "");
  std::filesystem::create_directory("dir.bin");
  std::filesystem::create_directory("dir.hex");
  const auto refusal = [this](const char* path) {
    return ErrorOf([this, path] { ReadAll(path); });
  };
  EXPECT_EQ(refusal("none.bin"), "UserError: Unable to open bin file: none.bin");
  EXPECT_EQ(refusal("none.hex"), "UserError: Unable to open hex file: none.hex");
  EXPECT_EQ(refusal("dir.bin"), "UserError: Unable to open bin file: dir.bin (not a regular file)");
  EXPECT_EQ(refusal("dir.hex"), "UserError: Unable to open hex file: dir.hex (not a regular file)");
  EXPECT_EQ(refusal("empty.bin"), "UserError: Image file is empty: empty.bin");
  EXPECT_EQ(refusal("empty.hex"), "UserError: Image file is empty: empty.hex");
}

TEST_F(ImageFile, OnlyTheTwoExtensionsAreAccepted) {
  for (const char* path : {"a.BIN", "a.elf", "a", "", "bin", "hex.", "a.hex "})
    EXPECT_THAT(ErrorOf([path] { Image::CreateImage(path, 0); }),
                StartsWith("UserError: Image: Unsupported image file"))
        << path;
}

}  // namespace
}  // namespace orvo
