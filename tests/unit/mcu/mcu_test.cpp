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

using testing::ContainsRegex;
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

// --- Questions and virtual time
// ----------------------------------------------------------------------

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
  EXPECT_THAT(dump.str(), ContainsRegex("\n\nData RAM:\n[^:]*\n\nSystemControlBlock:\n"));
}

TEST(McuTime, NanosecondsTruncateAndDeviceTimeKeepsFractions) {
  for (const auto& [ticks, hz, ns] : {std::tuple(1, 64'000'000ul, 15ul),
                                      {64, 64'000'000, 1000},
                                      {3, 1'000'000'000, 3},
                                      {1000, 0, 0}}) {
    TestMcu mcu;
    mcu.clock().SetFrequency(hz);
    mcu.clock().Tickrement(ticks);
    EXPECT_EQ(mcu.GetTimeNs(), ns) << ticks << " at " << hz;
    EXPECT_DOUBLE_EQ(mcu.GetDeviceTime(), ticks == 1 ? 15.625 : static_cast<double>(ns));
  }
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

// What else wakes wfe: tests/instructions/system_test.cpp and firmware/programs/sleep_and_reset.c.
TEST(McuSleep, ServiceFunctionsRunWhileTheCoreSleeps) {
  TestMcu mcu;
  mcu.clock().service().GoFunction(
      1000, [&](int) { mcu.SetEventHappened(true); }, false, 0);
  mcu.WaitForEvent();
  EXPECT_EQ(mcu.clock().ticks(), 64u);
}

}  // namespace
}  // namespace orvo
