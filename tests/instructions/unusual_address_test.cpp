// Every form of load and store where compilers send none: outside all sections, at addresses that
// are not aligned, and across the end of a section.

#include <gmock/gmock.h>

#include <algorithm>

#include "core/globals.h"
#include "instructions/memory_case.h"

namespace orvo {
namespace {

struct AccessForm {
  const char* assembly;
  Code code;
  // What an access outside all sections gives besides moving the base. A single load leaves its
  // register, lists and pairs load 0.
  std::vector<Change> outside = {};
};

// clang-format off
const AccessForm kForms[] = {
  {"ldr r0,[r1]",             {0x6808}},
  {"ldr.w r0,[r1,#-4]",       {0xf851, 0x0c04}},
  {"ldr r0,[r1,#4]!",         {0xf851, 0x0f04}},
  {"ldr r0,[r1],#4",          {0xf851, 0x0b04}},
  {"ldr r0,[r1,r2]",          {0x5888}},
  {"ldr.w r0,[r1,r2,lsl #2]", {0xf851, 0x0022}},
  {"ldr r0,[sp,#4]",          {0x9801}},
  {"ldr.w sp,[r1]",           {0xf8d1, 0xd000}},
  {"ldr.w pc,[r1]",           {0xf8d1, 0xf000}},
  {"ldrb r0,[r1]",            {0x7808}},
  {"ldrb r0,[r1],#1",         {0xf811, 0x0b01}},
  {"ldrh r0,[r1]",            {0x8808}},
  {"ldrh r0,[r1,#2]!",        {0xf831, 0x0f02}},
  {"ldrsb r0,[r1,r2]",        {0x5688}},
  {"ldrsb r0,[r1],#1",        {0xf911, 0x0b01}},
  {"ldrsh r0,[r1,r2]",        {0x5e88}},
  {"ldrsh r0,[r1],#2",        {0xf931, 0x0b02}},
  {"ldrd r0,r3,[r1]",         {0xe9d1, 0x0300}, {{"r0", 0}, {"r3", 0}}},
  {"ldrd r0,r3,[r1,#8]!",     {0xe9f1, 0x0302}, {{"r0", 0}, {"r3", 0}}},
  {"ldrd r0,r3,[r1],#8",      {0xe8f1, 0x0302}, {{"r0", 0}, {"r3", 0}}},
  {"ldm.w r1,{r0,r3,r4}",     {0xe891, 0x0019}, {{"r0", 0}, {"r3", 0}, {"r4", 0}}},
  {"ldm r1!,{r0,r3}",         {0xc909},         {{"r0", 0}, {"r3", 0}}},
  {"ldmdb r1,{r0,r3}",        {0xe911, 0x0009}, {{"r0", 0}, {"r3", 0}}},
  {"ldm.w r1,{r0,pc}",        {0xe891, 0x8001}, {{"r0", 0}, {"pc", 4}}},
  {"pop {r3,r4}",             {0xbc18},         {{"r3", 0}, {"r4", 0}}},
  {"pop {r3,pc}",             {0xbd08},         {{"r3", 0}, {"pc", 0}}},
  {"vldr s0,[r1]",            {0xed91, 0x0a00}, {{"control", 0}}},
  {"vldr d1,[r1]",            {0xed91, 0x1b00}, {{"control", 0}}},
  {"vldm r1,{s0-s2}",         {0xec91, 0x0a03}, {{"s0", 0}, {"s1", 0}, {"s2", 0}}},
  {"vldm r1!,{d1-d2}",        {0xecb1, 0x1b04}, {{"s2", 0}, {"s3", 0}, {"s4", 0}, {"s5", 0}}},
  {"vldmdb r1!,{s0-s1}",      {0xed31, 0x0a02}, {{"s0", 0}, {"s1", 0}}},
  {"vpop {d1-d2}",            {0xecbd, 0x1b04}, {{"s2", 0}, {"s3", 0}, {"s4", 0}, {"s5", 0}}},
  {"tbb [r1,r2]",             {0xe8d1, 0xf002}},
  {"tbh [r1,r2,lsl #1]",      {0xe8d1, 0xf012}},
  {"str r0,[r1]",             {0x6008}},
  {"str.w r0,[r1,#-4]",       {0xf841, 0x0c04}},
  {"str r0,[r1,#4]!",         {0xf841, 0x0f04}},
  {"str r0,[r1],#4",          {0xf841, 0x0b04}},
  {"str r0,[r1,r2]",          {0x5088}},
  {"str.w r0,[r1,r2,lsl #2]", {0xf841, 0x0022}},
  {"str r0,[sp,#4]",          {0x9001}},
  {"strb r0,[r1]",            {0x7008}},
  {"strb r0,[r1,r2]",         {0x5488}},
  {"strb r0,[r1],#1",         {0xf801, 0x0b01}},
  {"strh r0,[r1]",            {0x8008}},
  {"strh r0,[r1,r2]",         {0x5288}},
  {"strh r0,[r1,#2]!",        {0xf821, 0x0f02}},
  {"strd r0,r2,[r1]",         {0xe9c1, 0x0200}},
  {"strd r0,r2,[r1,#8]!",     {0xe9e1, 0x0202}},
  {"strd r0,r2,[r1],#8",      {0xe8e1, 0x0202}},
  {"stm.w r1,{r0,r2}",        {0xe881, 0x0005}},
  {"stm r1!,{r0,r2}",         {0xc105}},
  {"stmdb r1!,{r0,r2}",       {0xe921, 0x0005}},
  {"stmdb r1,{r0,r2}",        {0xe901, 0x0005}},
  {"push {r0,r2,lr}",         {0xb505}},
  {"push.w {r4,r8}",          {0xe92d, 0x0110}},
  {"vstr s1,[r1]",            {0xedc1, 0x0a00}},
  {"vstr d1,[r1]",            {0xed81, 0x1b00}},
  {"vstm r1,{s0-s2}",         {0xec81, 0x0a03}},
  {"vstmdb r1!,{d1-d2}",      {0xed21, 0x1b04}},
  {"vpush {d1-d2}",           {0xed2d, 0x1b04}},
  // A pair each: a store without its load accesses nothing.
  {"ldrex; strex",   {0xe851, 0x0f00, 0xe841, 0x0300}, {{"r0", 0}, {"r3", 0}}},  // r0; r3, r0
  {"ldrexb; strexb", {0xe8d1, 0x0f4f, 0xe8c1, 0x0f43}, {{"r0", 0}, {"r3", 0}}},
  {"ldrexh; strexh", {0xe8d1, 0x0f5f, 0xe8c1, 0x0f53}, {{"r0", 0}, {"r3", 0}}},
};
// clang-format on

constexpr unsigned kCcr = 0xe000ed14;
constexpr unsigned kMmfar = 0xe000ed34;
constexpr unsigned kUnalignedTrap = 1u << 3;
constexpr unsigned kNowhere = 0x60000000;
constexpr unsigned kRamEnd = TestMcu::kRamStart + TestMcu::kRamSizeBytes;

// The bench of the other tables, with r1, sp and the bytes that count up moved to another base.
struct MovedBench : MemoryBench {
  explicit MovedBench(unsigned at) : base(at) {
    r(1) = base;
    registers().word(kMsp) = base;
    if (memory().LookUpSection(base) == nullptr) return;
    for (int offset = kFirstOffset; offset < kEndOffset; ++offset) {
      memory().setByte<false>(base + static_cast<unsigned>(offset), ByteAt(offset));
    }
  }

  std::vector<unsigned> Words() {
    std::vector<unsigned> words;
    for (int offset = kFirstOffset; offset < kEndOffset; offset += 4) {
      words.push_back(memory().get<false>(base + static_cast<unsigned>(offset)));
    }
    return words;
  }

  const unsigned base;
};

// Whether a register holds the base, perhaps moved by the instruction.
bool IsBase(unsigned value, unsigned base) { return value - base + 64 <= 128; }

// What a form does at an aligned address in RAM.
struct Usual {
  explicit Usual(const AccessForm& form) {
    MovedBench bench(kData);
    bench.Run(form.code);
    registers = bench.registers();
    words = bench.Words();
    raises_nothing = *bench.interrupts().pending_empty();
  }
  // The registers that the same gives at another base.
  unsigned RegisterAt(unsigned base, unsigned id) const {
    const unsigned value = registers.get(id);
    return IsBase(value, kData) ? value - kData + base : value;
  }

  Registers registers;
  std::vector<unsigned> words;
  bool raises_nothing;
};

TEST(UnalignedAccess, OfEveryFormWorksWhateverTheTrapBitSays) {
  for (const AccessForm& form : kForms) {
    const Usual usual(form);
    for (unsigned offset = 1; offset < 4; ++offset) {
      SCOPED_TRACE(form.assembly + (" at + " + std::to_string(offset)));
      MovedBench bench(kData + offset);
      bench.memory().set<false>(kCcr, bench.memory().get<false>(kCcr) | kUnalignedTrap);
      bench.Run(form.code);
      for (unsigned id = 0; id < kRegisterCount; ++id) {
        EXPECT_EQ(bench.registers().get(id), usual.RegisterAt(bench.base, id)) << "register " << id;
      }
      EXPECT_EQ(bench.Words(), usual.words);
      EXPECT_EQ(*bench.interrupts().pending_empty(), usual.raises_nothing);
    }
  }
}

TEST(AccessOutsideAllSections, OfEveryFormFaultsAndMovesItsBase) {
  for (const AccessForm& form : kForms) {
    SCOPED_TRACE(form.assembly);
    const Usual usual(form);
    MovedBench bench(kNowhere);
    Registers expected = bench.registers();
    expected.pc() = CoreBench::kCodeAddress + 2 * static_cast<unsigned>(form.code.size());
    expected.control() = usual.registers.control();
    for (const unsigned id : {unsigned{kR0} + 1, unsigned{kMsp}}) {
      if (IsBase(usual.registers.get(id), kData))
        expected.word(id) = usual.RegisterAt(kNowhere, id);
    }
    for (const Change& change : form.outside) RegisterNamed(expected, change.where) = change.value;

    testing::internal::CaptureStderr();
    bench.Run(form.code);
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                testing::StartsWith("Warning: Unknown address 0x"));

    for (unsigned id = 0; id < kRegisterCount; ++id) {
      EXPECT_EQ(bench.registers().get(id), expected.get(id)) << "register " << id;
    }
    // MemManage is not enabled, so it comes as a hard fault.
    EXPECT_TRUE(bench.interrupts().IsPending(kHardFault));
    EXPECT_TRUE(IsBase(bench.memory().get<false>(kMmfar), kNowhere));
  }
}

// The first byte decides whether an access faults; what lies behind the end reads 0.
TEST(AccessAcrossTheEnd, ReachesAsFarAsTheSectionDoes) {
  MovedBench bench(kData);
  bench.memory().setByte<false>(kRamEnd - 1, 0x55);
  bench.r(1) = kRamEnd - 1;
  bench.Run({0x6808, 0x600a});  // ldr r0, [r1]; str r2, [r1]
  EXPECT_EQ(bench.r(0), 0x55u);
  EXPECT_EQ(bench.memory().getByte<false>(kRamEnd - 1), 4u);
  EXPECT_TRUE(*bench.interrupts().pending_empty());

  // A list is cut in two: the part inside is stored, the rest faults.
  bench.r(0) = 7;
  bench.r(1) = kRamEnd - 4;
  bench.Run({0xe881, 0x0005});  // stm.w r1, {r0, r2}
  EXPECT_EQ(bench.memory().get<false>(kRamEnd - 4), 7u);
  EXPECT_TRUE(bench.interrupts().IsPending(kHardFault));
  bench.Run({0xe891, 0x0018});  // ldm.w r1, {r3, r4}
  EXPECT_EQ(bench.r(3), 7u);
  EXPECT_EQ(bench.r(4), 0u);
}

TEST(AccessAcrossTheEnd, OfEveryFormGoesOn) {
  testing::internal::CaptureStderr();
  for (const AccessForm& form : kForms) {
    for (const unsigned end : {kRamEnd, TestMcu::kRamStart, TestMcu::kFlashSizeBytes, 0u}) {
      for (unsigned distance = 0; distance < 16; ++distance) {
        MemoryBench bench;
        // Erased flash would be popped as an exception return, which ends the run.
        std::fill_n(flash_memory_, TestMcu::kFlashSizeBytes, 0);
        bench.r(1) = end - distance;
        bench.registers().word(kMsp) = end - distance;
        EXPECT_NO_THROW(bench.Run(form.code)) << form.assembly << std::hex << " at " << end;
      }
    }
  }
  testing::internal::GetCapturedStderr();
}

}  // namespace
}  // namespace orvo
