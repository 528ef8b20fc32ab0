#include "mcu/mcu.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <sstream>

#include "config/configuration_file_handler.h"
#include "support/exception_bench.h"
#include "support/tick_recorder.h"
#include "unit/config/working_directory.h"

namespace orvo {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

struct McuTest : testing::Test, ExceptionBench {};

// --- Creation ------------------------------------------------------------------------------------

// Notes the order of the hooks of start().
struct StartMcu : Mcu {
  explicit StartMcu(ScenarioFileHandler& scenario) : Mcu(scenario, nullptr, nullptr) {
    SetInterrupts(std::make_unique<TestInterrupts>(this, 4));
  }
  void CreateMemorySections() override {
    log.push_back("sections");
    memory().AddSection(new PlainSection(this, "Flash", 0, 0x100));
    memory().AddSection(new PlainSection(this, "Data RAM", 0x20000000, 0x100));
    struct Block : PlainSection {
      Block(StartMcu* mcu)
          : PlainSection(mcu, "SystemControlBlock", 0xe0001000, 57152), chip(mcu) {}
      void Init() override { chip->log.push_back("init"); }
      StartMcu* chip;
    };
    memory().AddSection(new Block(this));
  }
  void SetFrequency() override { log.push_back("frequency"); }

  CallLog log;
};

TEST(McuStart, CreatesSectionsResizesThemAndLoadsTheVectorTable) {
  const WorkingDirectory directory;
  directory.Write("board.json", R"({"components": [{"class": "nrf52832", "name": "chip",
      "config": {"ram_size": 512, "flash_size": 1024}}]})");
  ConfigurationFileHandler::Get().Init("nrf52832", nullptr,
                                       std::filesystem::read_symlink("/proc/self/exe"));
  ScenarioFileHandler scenario;
  StartMcu mcu(scenario);
  mcu.start();
  EXPECT_THAT(mcu.log, ElementsAre("sections", "init", "frequency"));
  EXPECT_EQ(mcu.memory().GetSectionByName("Data RAM")->size(), 512u);
  EXPECT_EQ(mcu.GetProgramFlashSizeKB(), 1u);
  EXPECT_EQ(mcu.interrupts().GetInterruptName(16), "IRQ0");
  ISingelton<ConfigurationFileHandler>::ReleaseInstance();
}

TEST(McuStart, WithoutConfigurationTheSectionsKeepTheirSizes) {
  ISingelton<ConfigurationFileHandler>::ReleaseInstance();
  ScenarioFileHandler scenario;
  StartMcu mcu(scenario);
  mcu.start();
  EXPECT_EQ(mcu.memory().GetSectionByName("Data RAM")->size(), 0x100u);
}

TEST(McuDevices, LiveAsLongAsTheChip) {
  struct Device : Peripheral {
    Device(Mcu* mcu, bool* alive) : Peripheral(mcu), alive_(alive) { *alive_ = true; }
    ~Device() override {
      GetMcu()->clock().TickCount();  // the chip's parts are still there
      *alive_ = false;
    }
    bool* alive_;
  };
  bool alive = false;
  {
    TestMcu mcu;
    auto device = std::make_unique<Device>(&mcu, &alive);
    Peripheral* const raw = device.get();
    EXPECT_EQ(mcu.AddDevice(std::move(device)), raw);
    EXPECT_TRUE(alive);
  }
  EXPECT_FALSE(alive);
}

// --- Reset ---------------------------------------------------------------------------------------

TEST_F(McuTest, ResetReadsStackPointerAndPcFromTheVectorTable) {
  registers.control() = control::kProcessStack;
  registers.set_xpsr(0xf0000000);
  registers.word(kPsp) = 1;
  mcu.Reset(kPowerOnReset);
  EXPECT_EQ(registers.sp(), kStackTop);
  EXPECT_EQ(registers.word(kMsp), kStackTop);
  EXPECT_EQ(registers.pc(), HandlerOf(kReset));
  EXPECT_EQ(registers.lr(), 0xffffffffu);
  EXPECT_EQ(registers.xpsr() | registers.control() | registers.word(kPsp), 0u);
}

TEST_F(McuTest, ResetStartsInTheVectorTableThatVtorSelectedBefore) {
  // The stack pointer comes from flash all the same.
  constexpr unsigned kTable = 0x8000;
  SetVector(kTable, kReset, 0x9001);
  mcu.memory().set<false>(0xe000ed08, kTable);
  mcu.Reset(kSoftwareReset);
  EXPECT_EQ(registers.pc(), 0x9001u);
  EXPECT_EQ(registers.sp(), kStackTop);
}

// --- Questions -----------------------------------------------------------------------------------

TEST_F(McuTest, PrivilegeIsLostInThreadModeOnly) {
  EXPECT_TRUE(mcu.IsPrevilegedMode());
  registers.control() = control::kUnprivileged;
  EXPECT_FALSE(mcu.IsPrevilegedMode());
  Raise(kNmi);
  Step();
  EXPECT_TRUE(mcu.IsPrevilegedMode());
}

TEST_F(McuTest, FloatingPointIsOnWhenBothAccessBitsAre) {
  constexpr unsigned kCpacr = 0xe000ed88;
  for (const auto& [value, on] : {std::pair{0u, false},
                                  {1u << 20, false},
                                  {1u << 21, false},
                                  {3u << 20, true},
                                  {0xfu << 20, true}}) {
    mcu.memory().set<false>(kCpacr, value);
    EXPECT_EQ(mcu.IsVFPEnabled(), on) << value;
  }
}

TEST_F(McuTest, TheDumpHasTheRegistersAndThenTheSections) {
  registers.pc() = 0xabc;
  std::ostringstream dump;
  mcu.serializeToFile(&dump);
  EXPECT_THAT(dump.str(), StartsWith("Regs:\nR0: 0x00000000\n"));
  EXPECT_THAT(dump.str(), HasSubstr("\nR11: 0x00000abc\n"));
  EXPECT_THAT(dump.str(), HasSubstr("\nR278: 0x00000000\n\n\nFlash:\n"));
  EXPECT_THAT(dump.str(), HasSubstr("\n\nSystemControlBlock:\n"));
}

// --- Virtual time --------------------------------------------------------------------------------

struct TimeCase {
  unsigned long ticks, hz, ns;
};

TEST(McuTime, NanosecondsTruncate) {
  for (const TimeCase& c : {TimeCase{1, 64'000'000, 15}, TimeCase{64, 64'000'000, 1000},
                            TimeCase{3, 1'000'000'000, 3}, TimeCase{1000, 0, 0}}) {
    TestMcu mcu;
    mcu.clock().SetFrequency(c.hz);
    mcu.clock().Tickrement(static_cast<int>(c.ticks));
    EXPECT_EQ(mcu.GetTimeNs(), c.ns) << c.ticks << " at " << c.hz;
  }
}

TEST(McuTime, DeviceTimeKeepsFractions) {
  TestMcu mcu;
  mcu.clock().Tickrement(1);
  EXPECT_DOUBLE_EQ(mcu.GetDeviceTime(), 15.625);
}

TEST(McuTime, RelativeTimeCountsFromItsOrigin) {
  TestMcu mcu;
  mcu.clock().Tickrement(640);
  EXPECT_EQ(mcu.GetTimeNsRelative(), 10'000u);
  mcu.SetRelativeTime();
  mcu.clock().Tickrement(64);
  EXPECT_EQ(mcu.GetTimeNsRelative(), 1000u);
  EXPECT_EQ(mcu.GetTimeNs(), 11'000u);
}

TEST(McuTime, CpuTimeIsPrintedForA64MHzClockWhateverTheFrequency) {
  TestMcu mcu;
  mcu.clock().SetFrequency(1000);
  mcu.clock().Tickrement(64'000'000 + 64 * 25);
  testing::internal::CaptureStdout();
  mcu.PrintCPUTime();
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "0:01.000025\n");
}

// --- wfe and sev ---------------------------------------------------------------------------------

TEST_F(McuTest, ALatchedEventLetsWfeReturnAtOnceAndIsUsedUp) {
  mcu.SetEventHappened(true);
  EXPECT_TRUE(mcu.TakeEvent());
  EXPECT_FALSE(mcu.TakeEvent());
}

TEST_F(McuTest, WfeSleepsUntilTheTickOfAnInterruptAndTheNextOneFindsTheEvent) {
  CallLog log;
  TickRecorder timer("timer", &log, [this](unsigned long) {
    Raise(3);
    return 0ul;
  });
  Enable(3);
  mcu.clock().AttachToTick(500, &timer, false);
  mcu.WaitForEvent();
  EXPECT_EQ(mcu.clock().ticks(), 500u);
  mcu.WaitForEvent();  // the latch is still set
  EXPECT_EQ(mcu.clock().ticks(), 500u);
}

TEST_F(McuTest, ServiceFunctionsRunWhileTheCoreSleeps) {
  mcu.clock().service().GoFunction(
      1000, [this](int) { mcu.SetEventHappened(true); }, false, 0);
  mcu.WaitForEvent();
  EXPECT_EQ(mcu.clock().ticks(), 64u);
}

TEST_F(McuTest, AStopEndsTheSleep) {
  CallLog log;
  TickRecorder stop("stop", &log, [this](unsigned long) {
    mcu.Stop();
    return 0ul;
  });
  mcu.clock().AttachToTick(9, &stop, false);
  mcu.WaitForEvent();
  EXPECT_EQ(mcu.clock().ticks(), 9u);
}

TEST_F(McuTest, SevSetsTheLatchOnlyWithSevOnPend) {
  mcu.SendEvent();
  EXPECT_FALSE(mcu.TakeEvent());
  mcu.memory().set<false>(0xe000ed10, 1u << 4);
  mcu.SendEvent();
  EXPECT_TRUE(mcu.TakeEvent());
}

}  // namespace
}  // namespace orvo
