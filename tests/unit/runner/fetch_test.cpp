// Fetches of what is no instruction, or no code at all: each ends in a fault that names its place.
#include <gtest/gtest.h>

#include "program_bench.h"
#include "time/scb_bits.h"
#include "time/system_control_block.h"

namespace orvo {
namespace {

struct FetchCase {
  const char* name;
  Code code;
  std::string end_of_flash;  // the image fills the flash, erased up to this; empty: a short image
  unsigned fault_pc;
  std::string errors = "";
};

std::ostream& operator<<(std::ostream& out, const FetchCase& c) { return out << c.name; }

struct BadFetch : ProgramBench, testing::TestWithParam<FetchCase> {};

// UsageFault for what is no instruction and BusFault for what is no code, both not enabled.
TEST_P(BadFetch, IsAHardFaultThatNamesItsPlace) {
  std::string image = Image(GetParam().code);
  if (!GetParam().end_of_flash.empty()) {
    image.resize(TestMcu::kFlashSizeBytes - GetParam().end_of_flash.size(), '\xff');
    image += GetParam().end_of_flash;
  }
  StopAt(kHardFaultHandler);
  Load(image);
  testing::internal::CaptureStderr();
  program->Run();
  EXPECT_EQ(testing::internal::GetCapturedStderr(), GetParam().errors);
  EXPECT_EQ(mcu.registers().xpsr() & xpsr::kExceptionNumber, 16u + kHardFault);
  EXPECT_EQ(mcu.memory().get<false>(mcu.registers().sp() + 24), GetParam().fault_pc);
  EXPECT_EQ(mcu.scb().get(Cm4SystemControlBlock::HFSR), scb::kForced);
}

constexpr unsigned kEnd = TestMcu::kFlashSizeBytes;

std::string Invalid(const char* place) {
  return std::string("Warning: invalid instruction at: 0x") + place + "\n";
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Table, BadFetch, testing::Values(
    FetchCase{"first_half_of_bl_at_the_end_of_flash",   SmallImage::JumpTo(kEnd - 1), {"\x00\xf0", 2},
              kEnd - 2, Invalid("fffe")},
    FetchCase{"first_half_of_push_at_the_end_of_flash", SmallImage::JumpTo(kEnd - 1), "\x2d\xe9",
              kEnd - 2, Invalid("fffe")},
    // Deliberate: a pc exactly at the end executes, though nothing is there in a full flash.
    FetchCase{"nop_at_the_end_of_flash", SmallImage::JumpTo(kEnd - 1), {"\x00\xbf", 2},
              kEnd, Invalid("10000")},
    FetchCase{"end_of_flash",            SmallImage::JumpTo(kEnd + 1), "xx", kEnd, Invalid("10000")},
    FetchCase{"behind_the_end_of_flash", SmallImage::JumpTo(kEnd + 3), "xx", kEnd + 2},
    FetchCase{"erased_flash",            SmallImage::JumpTo(0x8001), "xx", 0x8000, Invalid("8000")},
    FetchCase{"erased_flash_behind_the_image", SmallImage::JumpTo(0x8001), "", 0x8000},
    // The zero word at the end of the image is an instruction.
    FetchCase{"end_of_the_image",        {0xbf00, 0xbf00}, "", ProgramBench::kCode + 6},
    FetchCase{"ram",                     SmallImage::JumpTo(0x20000001), "", 0x20000000},
    FetchCase{"ram_at_an_even_address",  SmallImage::JumpTo(0x20000000), "", 0x20000000},
    FetchCase{"peripheral",              SmallImage::JumpTo(0xe000ed01), "", 0xe000ed00},
    // Both branch all the same, here to a udf, behind which the fault is.
    FetchCase{"bx_to_an_even_address",   SmallImage::JumpTo(SmallImage::kBehindJump, {0xde00}), "",
              SmallImage::kBehindJump + 2},
    FetchCase{"bx_to_an_odd_address",    SmallImage::JumpTo(SmallImage::kBehindJump + 1, {0xde00}),
              "", SmallImage::kBehindJump + 2}),
    [](const auto& test) { return test.param.name; });
// clang-format on

// The chip would lock up. A reset gets out of it; NMI is in one group with HardFault.
TEST(LockUp, ByAHardFaultHandlerOutsideTheProgramIsToldOnce) {
  ProgramBench bench;
  std::string image = bench.Image(ProgramBench::kCounter);
  image.replace(4 * (16 + kHardFault), 4, SmallImage::Word(0x20000001));
  bench.Load(image);
  bench.mcu.interrupts().RaiseInterrupt(kHardFault, true);
  const At nmi(bench.mcu, 30, [&] { bench.mcu.interrupts().RaiseInterrupt(kNmi, true); });
  const At reset(bench.mcu, 50, [&] {
    EXPECT_EQ(bench.pc(), 0x20000000u);
    bench.mcu.interrupts().RaiseInterrupt(kReset, true);
  });
  const At end(bench.mcu, 100, [&] { bench.program->Stop(); });
  testing::internal::CaptureStderr();
  bench.program->Run();
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Warning: pc 0x20000000 lies outside of the program at tick 1, and its fault can't be "
            "taken\n");
  EXPECT_EQ(bench.ticks(), 100u);
  EXPECT_EQ(bench.r(0), 25u) << "the counter, from tick 50 on";
}

}  // namespace
}  // namespace orvo
