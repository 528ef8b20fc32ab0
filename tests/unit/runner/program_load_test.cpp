// What a Program takes for an image that it can run, beyond tests/system/images_test.cpp.
#include <gmock/gmock.h>

#include "core/globals.h"
#include "program_bench.h"

namespace orvo {
namespace {

using testing::HasSubstr;

struct ProgramLoad : testing::Test, ProgramBench {
  // A run that ends at its first instruction, and what it prints on standard error.
  std::string WarningsOfRun(const std::string& image) {
    program.reset();
    StopAt(kCode);
    testing::internal::CaptureStderr();
    Load(image);
    program->Run();
    return testing::internal::GetCapturedStderr();
  }
  std::string ErrorOfHex(const std::string& text) {
    directory.Write("a.hex", text);
    return ErrorOf([this] { Program(mcu, "orvo", "a.hex"); });
  }
};

TEST_F(ProgramLoad, HexImageMayFillOtherSectionsButNoneThatDoesNotExist) {
  constexpr char kProgram[] =
      ":080000000000012041000000"
      "96\n"
      ":04004000002001309B\n";
  const std::string in_ram = ":020000042000DA\n:0400100078563412D8\n:00000001FF\n";
  EXPECT_EQ(ErrorOfHex(kProgram + in_ram), "");
  EXPECT_EQ(program_len_, 0x40u);
  EXPECT_EQ(mcu.memory().get<false>(0), kStackPointer);
  EXPECT_EQ(mcu.memory().get<false>(0x40), 0x30012000u);
  EXPECT_EQ(mcu.memory().get<false>(0x20000010), 0x12345678u);
  EXPECT_THAT(ErrorOfHex(":020000043000CA\n:0400000001020304F2\n:00000001FF\n"),
              HasSubstr("a.hex of 4 bytes has data at 0x30000000"));
  EXPECT_EQ(ErrorOfHex(":00000001FF\n"), "UserError: Image file has no data: a.hex");
}

TEST_F(ProgramLoad, ImageMayFillTheFlashAndALargerOneIsRefusedWithBothSizes) {
  std::string image = Image(kCounter);
  image.resize(TestMcu::kFlashSizeBytes, 'x');
  EXPECT_EQ(WarningsOfRun(image), "");
  EXPECT_EQ(program_len_, TestMcu::kFlashSizeBytes);
  program.reset();
  image.resize(TestMcu::kFlashSizeBytes + 1000, 'x');
  EXPECT_EQ(ErrorOf([&] { Load(image); }),
            "UserError: Image file doesn't fit into test: a.bin of 66536 bytes has data at "
            "0x10000, the flash has 65536 bytes from 0x0 on");
}

TEST_F(ProgramLoad, EntryOutsideTheImageOfAnotherChipThanAnNrf52IsOutOfRange) {
  Load(Image(kCounter, kStackPointer, 0x1001));
  EXPECT_EQ(ErrorOf([this] { program->Run(); }),
            "UserError: Pc out of range, Are you trying to run a binary with wrong --platform "
            "test ?");
}

TEST_F(ProgramLoad, StackPointerOutsideOfRamIsAWarning) {
  for (const unsigned sp : {0u, 0x1000u, 0x20010004u, 0xffffffffu}) {
    EXPECT_THAT(WarningsOfRun(Image(kCounter, sp)), HasSubstr("Warning: the initial stack pointer"))
        << sp;
  }
  for (const unsigned sp : {kStackPointer, TestMcu::kRamStart + 4}) {
    EXPECT_EQ(WarningsOfRun(Image(kCounter, sp)), "") << sp;
  }
}

}  // namespace
}  // namespace orvo
