// Moves to and from the special registers: what each takes and gives, and to whom.

#include <gtest/gtest.h>

#include "runner/errors.h"
#include "support/core_bench.h"

namespace orvo {
namespace {

constexpr unsigned kCode = CoreBench::kCodeAddress;

struct WriteCase {
  const char* name;
  unsigned sysm;  // low byte of the second halfword
  unsigned id;    // of the register that takes the value
  unsigned before;
  unsigned value;
  unsigned after;
  unsigned control = 0;
  mcu_mode_t mode = kThreadMode;
};

std::ostream& operator<<(std::ostream& out, const WriteCase& c) { return out << c.name; }

class SpecialRegisterWrite : public testing::TestWithParam<WriteCase> {};

TEST_P(SpecialRegisterWrite, TakesItsBits) {
  const WriteCase& row = GetParam();
  CoreBench bench;
  bench.registers().control() = row.control;
  bench.registers().word(row.id) = row.before;
  if (row.id == kXpsr) bench.registers().set_xpsr(row.before);
  bench.r(1) = row.value;
  Interrupts::mode_ = row.mode;
  bench.Run({0xf381, static_cast<unsigned short>(0x8800 | row.sysm)});  // msr <register>, r1
  Interrupts::mode_ = kThreadMode;
  EXPECT_EQ(bench.registers().get(row.id), row.after);
  EXPECT_EQ(bench.pc(), kCode + 4);
}

// clang-format off
constexpr unsigned kUnprivileged = control::kUnprivileged;
INSTANTIATE_TEST_SUITE_P(Table, SpecialRegisterWrite, testing::Values(
    // GE and nothing else, although the name asks for the flags.
    WriteCase{"apsr_nzcvq",  0x00, kXpsr, 0x50000000, 0xafffffff, 0x500f0000},
    WriteCase{"apsr_clears", 0x00, kXpsr, 0x580f0000, 0,          0x58000000},
    WriteCase{"msp",         0x08, kMsp,      1, 0x20000003, 0x20000003},
    WriteCase{"psp",         0x09, kPsp,      1, 0x20000003, 0x20000003, kUnprivileged},
    WriteCase{"primask",     0x10, kPrimask,  0, 0xffffffff, 0xffffffff},
    WriteCase{"primask_unprivileged", 0x10, kPrimask, 0, 1,  1, kUnprivileged},
    WriteCase{"basepri",     0x11, kBasepri,  0xabcdef10, 0x12345620, 0xabcdef20},
    WriteCase{"basepri_unprivileged", 0x11, kBasepri, 0x10, 0x20, 0x10, kUnprivileged},
    WriteCase{"basepri_handler", 0x11, kBasepri, 0x10, 0x20, 0x20, kUnprivileged, kHandlerMode},
    WriteCase{"control",     0x14, kControl,  0, 0xff, 7},
    WriteCase{"control_clears", 0x14, kControl, 6, 0, 0, 6},
    WriteCase{"control_unprivileged", 0x14, kControl, 1, 0, 1, 1},
    WriteCase{"control_handler", 0x14, kControl, 1, 6, 4, 1, kHandlerMode},
    WriteCase{"control_handler_keeps_stack", 0x14, kControl, 2, 1, 3, 2, kHandlerMode}),
    [](const auto& row) { return row.param.name; });

struct ReadCase {
  const char* name;
  unsigned sysm;
  unsigned value;
  unsigned unprivileged_value;
};

std::ostream& operator<<(std::ostream& out, const ReadCase& c) { return out << c.name; }

class SpecialRegisterRead : public testing::TestWithParam<ReadCase> {};

INSTANTIATE_TEST_SUITE_P(Table, SpecialRegisterRead, testing::Values(
    ReadCase{"whole_xpsr", 0x00, 0x0f001122, 0x0f001122},
    ReadCase{"ipsr",       0x05, 0x22,       0},
    ReadCase{"msp",        0x08, 0x20000010, 0x20000010},
    ReadCase{"psp",        0x09, 0x20000020, 0},
    ReadCase{"primask",    0x10, 1,          0},
    ReadCase{"basepri",    0x11, 0x40,       0},
    ReadCase{"control",    0x14, 4,          5}),
    [](const auto& row) { return row.param.name; });
// clang-format on

TEST_P(SpecialRegisterRead, DependsOnPrivilege) {
  const ReadCase& row = GetParam();
  for (const unsigned unprivileged : {0u, kUnprivileged}) {
    CoreBench bench;
    Registers& registers = bench.registers();
    registers.set_xpsr(0x0f001122);
    registers.word(kMsp) = 0x20000010;
    registers.word(kPsp) = 0x20000020;
    registers.word(kPrimask) = 1;
    registers.word(kBasepri) = 0x40;
    registers.control() = control::kFpContext | unprivileged;
    bench.Run({0xf3ef, static_cast<unsigned short>(0x8000 | row.sysm)});  // mrs r0, <register>
    EXPECT_EQ(bench.r(0), unprivileged != 0 ? row.unprivileged_value : row.value);
  }
}

TEST(SpecialRegisters, ThatAreMissingEndTheRun) {
  const std::pair<Code, std::string> kMissing[] = {
      {{0xf381, 0x8803}, "Arm instructions: msr_2 unknown type: 266"},  // xpsr_nzcvq
      {{0xf381, 0x8c00}, "Arm instructions: msr_2 unknown type: 259"},  // apsr_nzcvqg
      {{0xf381, 0x8812}, "Arm instructions: msr_2 unknown type: 276"},  // basepri_max
      {{0xf381, 0x8813}, "Arm instructions: msr_2 unknown type: 277"},  // faultmask
      {{0xf3ef, 0x8003}, "Arm instructions: mrs unknown type: 266"},    // xpsr
      {{0xf3ef, 0x8012}, "Arm instructions: mrs unknown type: 276"},    // basepri_max
      {{0xf3ef, 0x8013}, "Arm instructions: mrs unknown type: 277"},    // faultmask
      {{0xeef0, 0x0a10}, "Arm instructions: mrs unknown type: 8"},      // vmrs r0, fpsid
  };
  for (const auto& [code, message] : kMissing) {
    CoreBench bench;
    try {
      bench.Run(code);
      FAIL() << "no error for: " << message;
    } catch (const OrvoError& error) {
      EXPECT_EQ(error.message(), message);
    }
  }
}

TEST(SpecialRegisters, FpscrKeepsItsImplementedBitsAndGivesFlags) {
  CoreBench bench;
  bench.r(0) = ~0u;
  bench.Run({0xeee1, 0x0a10});  // vmsr fpscr, r0
  EXPECT_EQ(bench.registers().fpscr(), 0xf7c0009fu);
  EXPECT_EQ(bench.registers().control(), control::kFpContext);

  bench.registers().control() = 0;
  bench.registers().fpscr() = 0x60000010;
  bench.SetFlags("N--VQ");
  bench.Run({0xeef1, 0xfa10});  // vmrs apsr_nzcv, fpscr
  EXPECT_EQ(bench.flags(), "-ZC-Q");
  EXPECT_EQ(bench.registers().control(), 0u);

  bench.Run({0xeef1, 0x0a10});  // vmrs r0, fpscr
  EXPECT_EQ(bench.r(0), 0x60000010u);
  EXPECT_EQ(bench.registers().control(), control::kFpContext);
}

}  // namespace
}  // namespace orvo
