// Firmware files: which words they give, and what tests/system/images_test.cpp doesn't refuse.
#include "runner/image.h"

#include <gmock/gmock.h>

#include "unit/config/working_directory.h"

namespace orvo {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Pair;

constexpr unsigned kBase = 0x08000000;

struct ImageFile : testing::Test {
  std::vector<std::pair<unsigned, unsigned>> Read(const std::string& path,
                                                  const std::string& content) {
    directory.Write(path, content);
    const auto image = Image::CreateImage(path, kBase);
    image->Load();
    image->StartRead();
    std::vector<std::pair<unsigned, unsigned>> words;
    unsigned address = 0;
    unsigned value = 0;
    while (image->GetNextData(&address, &value)) words.emplace_back(address, value);
    size = image->Size();
    image->StartRead();  // back to the first word
    EXPECT_TRUE(words.empty() || image->GetNextData(&address, &value));
    EXPECT_TRUE(words.empty() || words[0] == std::pair(address, value));
    return words;
  }

  WorkingDirectory directory;
  unsigned long size = 0;
};

TEST_F(ImageFile, BinaryEndsWithZeroBytesUpToAWordOrOneMoreZeroWord) {
  EXPECT_THAT(
      Read("a.bin", "\x01\x02\x03\x04\x05\x06\x07\x88"),
      ElementsAre(Pair(kBase, 0x04030201), Pair(kBase + 4, 0x88070605), Pair(kBase + 8, 0)));
  EXPECT_EQ(size, 8u);
  EXPECT_THAT(Read("a.bin", "\x01\x02\x03\x04\x05"),
              ElementsAre(Pair(kBase, 0x04030201), Pair(kBase + 4, 0x00000005)));
  EXPECT_EQ(size, 5u);
}

TEST_F(ImageFile, HexWordsAreInTheOrderOfMemoryAndTheLastOfARecordEndsWithIt) {
  EXPECT_THAT(Read("a.hex",
                   ":0801000001020304a5B6c7D8FF\r\n"  // a line may end with CR LF
                   "\n"
                   ":06002000010203040506C5\n"
                   ":07004000010203040506079D\n"
                   ":00000001FF"),
              ElementsAre(Pair(0x100, 0x04030201), Pair(0x104, 0xd8c7b6a5), Pair(0x20, 0x04030201),
                          Pair(0x22, 0x06050403), Pair(0x40, 0x04030201), Pair(0x43, 0x07060504)));
  EXPECT_EQ(size, 21u);
}

TEST_F(ImageFile, HexBasesAddUpAndStartAddressesAndChecksumsHaveNoEffect) {
  EXPECT_THAT(Read("a.hex",
                   ":020000040800F2\n"      // linear base 0x08000000
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

TEST_F(ImageFile, HexRecordOfUnknownTypeHasNoEffectButAWarning) {
  testing::internal::CaptureStderr();
  EXPECT_THAT(Read("a.hex", ":0400000701020304EB\n:0400100001020304E2\n:00000001FF\n"),
              ElementsAre(Pair(0x10, 0x04030201)));
  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              HasSubstr("Warning: a.hex:1: a record of unknown type 7"));
}

TEST_F(ImageFile, BadHexIsRefusedWithFileAndLine) {
  // clang-format off
  const std::pair<const char*, const char*> refusals[] = {
      {":0400000001020304F2\n:\n",      "UserError: Image: a.hex:2: a record shorter than"},
      {":0400000001020304\n",           "tells of 4 bytes of data, but there are 3"},
      {":0400000001020304F200\n",       "tells of 4 bytes of data, but there are 5"},
      {":00000001FF:00000001FF\n",      "a.hex:1: no hexadecimal digit in column 12"},
      {"\n\n",                          "a.hex:3: the file ends without an end-of-file record"},
      {":00001000F0\n",                 "OrvoError: Parsing hex file was failed (a.hex:1: a data record of 0 bytes"},
      {":0100000408F3\n",               "a.hex:1: a base address of 1 bytes"}};
  // clang-format on
  for (const auto& [text, message] : refusals) {
    EXPECT_THAT(ErrorOf([&] { Read("a.hex", text); }), HasSubstr(message));
  }
}

}  // namespace
}  // namespace orvo
