// What a Program takes for an image that it can run.
#include <gmock/gmock.h>

#include "core/globals.h"
#include "program_bench.h"

namespace orvo {
namespace {

using testing::HasSubstr;
using testing::Not;

struct ProgramLoad : testing::Test, ProgramBench {
  std::string ErrorOfRun(const std::string& image) {
    return ErrorOf([&] {
      Load(image);
      program->Run();
    });
  }
  // A run that ends at its first instruction, and what it prints on standard error.
  std::string WarningsOfRun(const std::string& image) {
    StopAt(kCode);
    testing::internal::CaptureStderr();
    EXPECT_EQ(ErrorOfRun(image), "");
    return testing::internal::GetCapturedStderr();
  }
};

TEST_F(ProgramLoad, CopiesTheImageAndStartsAtItsVectors) {
  Load(Image(kCounter));
  EXPECT_EQ(program_len_, 0x44u) << "46 bytes, of which the last word begins at 0x44";
  EXPECT_EQ(mcu.memory().get<false>(kCode), 0x30012000u);
  EXPECT_EQ(mcu.memory().get<false>(0x48), 0xffffffffu) << "erased behind the image";
  EXPECT_EQ(pc(), kCode + 1);
  EXPECT_EQ(mcu.registers().sp(), kStackPointer);
}

TEST_F(ProgramLoad, HexImageMayAlsoFillOtherSections) {
  directory.Write("a.hex",
                  ":080000000000012041000000"
                  "96\n"
                  ":04004000002001309B\n"
                  ":020000042000DA\n"
                  ":0400100078563412D8\n"
                  ":00000001FF\n");
  Program(mcu, "orvo", "a.hex");
  EXPECT_EQ(program_len_, 0x40u);
  EXPECT_EQ(mcu.memory().get<false>(0), kStackPointer);
  EXPECT_EQ(mcu.memory().get<false>(0x40), 0x30012000u);
}

TEST_F(ProgramLoad, ImageThatFillsTheFlashIsTaken) {
  std::string image = Image(kCounter);
  image.resize(TestMcu::kFlashSizeBytes, 'x');
  EXPECT_EQ(WarningsOfRun(image), "");
  EXPECT_EQ(program_len_, TestMcu::kFlashSizeBytes);
}

TEST_F(ProgramLoad, ImageLargerThanTheFlashIsRefusedWithBothSizes) {
  std::string image = Image(kCounter);
  image.resize(TestMcu::kFlashSizeBytes + 1000, 'x');
  testing::internal::CaptureStderr();
  const std::string error = ErrorOfRun(image);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_THAT(error, HasSubstr("UserError: "));
  EXPECT_THAT(error, HasSubstr("a.bin of 66536 bytes"));
  EXPECT_THAT(error, HasSubstr("the flash has 65536 bytes from 0x0 on"));
}

TEST_F(ProgramLoad, HexDataOutsideOfAllMemoryIsRefused) {
  directory.Write("a.hex", ":020000043000CA\n:0400000001020304F2\n:00000001FF\n");
  EXPECT_THAT(ErrorOf([this] { Program(mcu, "orvo", "a.hex"); }),
              HasSubstr("a.hex of 4 bytes has data at 0x30000000"));
}

TEST_F(ProgramLoad, MissingImageIsNamed) {
  constexpr char kGiven[] =
      "OrvoError: Missing image file. Check your internet connection and use the newest version "
      "of sdk (";
  EXPECT_EQ(ErrorOf([this] { Program(mcu, "orvo", "b.bin"); }),
            kGiven + std::string("b.bin: No such file or directory)"));
  EXPECT_EQ(ErrorOf([this] { Program(mcu, "orvo", ""); }),
            kGiven + std::string("none was given with -i/--image)"));
}

TEST_F(ProgramLoad, HexImageWithoutDataIsRefused) {
  directory.Write("a.hex", ":00000001FF\n");
  EXPECT_EQ(ErrorOf([this] { Program(mcu, "orvo", "a.hex"); }),
            "UserError: Image file has no data: a.hex");
}

TEST_F(ProgramLoad, EntryOutsideTheImageIsRefusedByTheNameOfTheChip) {
  for (const unsigned entry : {0x1001u, 0x20000001u, 0xffffffffu}) {
    args.mcu = "test";
    Load(Image(kCounter, kStackPointer, entry));
    EXPECT_EQ(ErrorOf([this] { program->Run(); }),
              "UserError: Pc out of range, Are you trying to run a binary with wrong --platform "
              "test ?");
    args.mcu = "nrf52832";
    EXPECT_THAT(ErrorOf([this] { program->Run(); }),
                HasSubstr("UserError: You're binary is incomplete. This might happen if you're "
                          "using a soft-device or bootloader. Checkout the following link to see "
                          "how to get around this with Nordic's softdevice: https://"));
    program.reset();
  }
}

TEST_F(ProgramLoad, StackPointerOutsideOfRamIsAWarning) {
  for (const unsigned sp : {0u, 0x1000u, 0x20010004u, 0xffffffffu}) {
    EXPECT_THAT(WarningsOfRun(Image(kCounter, sp)), HasSubstr("Warning: the initial stack pointer"))
        << sp;
    program.reset();
  }
  for (const unsigned sp : {kStackPointer, TestMcu::kRamStart + 4}) {
    EXPECT_EQ(WarningsOfRun(Image(kCounter, sp)), "") << sp;
    program.reset();
  }
}

TEST_F(ProgramLoad, DebuggerIsRefusedBeforeTheRun) {
  args.gdb = true;
  EXPECT_THAT(ErrorOfRun(Image(kCounter)), HasSubstr("The GDB server is not built in"));
  EXPECT_EQ(ticks(), 0u);
}

TEST_F(ProgramLoad, CoverageThatCannotBeMadeIsSaidAndTheRunGoesOn) {
  args.code_coverage = true;
  EXPECT_THAT(WarningsOfRun(Image(kCounter)),
              HasSubstr("In order to see code coverage report, load your elf file."));
  program.reset();
  directory.Write("program.elf", "x");
  EXPECT_THAT(WarningsOfRun(Image(kCounter)), HasSubstr("code coverage is not built in"));
  EXPECT_FALSE(code_cover_report_);
}

}  // namespace
}  // namespace orvo
