#include "analysis/vcd_writer.h"

#include <gtest/gtest.h>

#include "support/temporary_directory.h"
#include "support/test_mcu.h"
#include "unit/wires/wire_listener.h"
#include "wires/wire_manager.h"

namespace orvo {
namespace {

struct Bench {
  TemporaryDirectory directory;
  WireManager wires{nullptr, 200, false, true};
  TestMcu mcu{&wires};

  void Drive(unsigned wire, bool level) {
    wires.SetWireLevel(wire, level, 0, false, nullptr, false);
  }
  VcdWriter Writer() { return {directory.path() / "pins.vcd", mcu}; }
  // Without the blanks that keep the place of what wasn't declared.
  std::string Text() {
    std::string text = directory.Read("pins.vcd");
    const size_t blanks = text.find("$end", text.find("$dumpvars")) + 4;
    return text.erase(blanks, text.find('\n', blanks) - blanks);
  }
};

TEST(VcdWriter, WritesThePinsThatChangedInNanosecondsOfVirtualTime) {
  Bench bench;
  bench.wires.AddPinName("P0_5", 5);
  bench.wires.AddPinName("P0_6", 6);
  bench.wires.AddPinName("P0_7", WireManager::kGnd);
  bench.wires.AddDevicePin("my $button", "in", 5);
  bench.wires.AddDevicePin("lamp", "on", 150);
  bench.Drive(5, false);
  {
    const VcdWriter vcd = bench.Writer();
    bench.mcu.clock().Tickrement(1);
    bench.Drive(5, true);
    bench.Drive(150, false);
    bench.Drive(151, false);  // nobody knows it
    bench.Drive(6, true);     // was high before
    bench.mcu.clock().Tickrement(640);
    std::vector<WireChange> changes{{5, false, 0}, {5, true, 0}, {5, false, 0}};
    bench.wires.SetMultipleWireLevel(&changes, false, nullptr, false);
    bench.mcu.clock().Tickrement(63);
  }
  EXPECT_EQ(bench.Text(),
            "$version orvo $end\n$timescale 1 ns $end\n$scope module board $end\n"
            "$var wire 1 ! P0_5 $end\n$var wire 1 # lamp.on $end\n"
            "$var wire 1 $ my__button.in $end\n$upscope $end\n$enddefinitions $end\n"
            "#0\n$dumpvars\n0!\n1#\n0$\n$end\n"
            "#15\n1!\n1$\n0#\n"
            "#10015\n0!\n0$\n"
            "#11000\n");
  bench.Drive(5, true);  // the writer is gone
}

TEST(VcdWriter, EndsAtTheLevelOfAWireThatItsObserversDroveAnew) {
  Bench bench;
  LevelListener held;
  bench.wires.AddPinName("P0_5", 5);
  bench.wires.ConnectToWireLogicState(&held, 5, 5);
  held.on_update = [&] { bench.wires.SetWireLevel(5, true, 5, false, &held, false); };
  {
    const VcdWriter vcd = bench.Writer();
    bench.mcu.clock().Tickrement(64);
    bench.Drive(5, false);
  }
  EXPECT_TRUE(bench.wires.GetWireLevel(5));
  EXPECT_EQ(bench.Text().substr(bench.Text().find("#0")), "#0\n$dumpvars\n1!\n$end\n#1000\n");
}

TEST(VcdWriter, TimeGoesOnWhenTheFrequencyChanges) {
  Bench bench;
  bench.wires.AddPinName("P0_5", 5);
  {
    const VcdWriter vcd = bench.Writer();
    bench.mcu.clock().Tickrement(64);
    bench.Drive(5, false);
    bench.mcu.clock().SetFrequency(128'000'000);
    bench.Drive(5, true);
    bench.mcu.clock().Tickrement(64);
    bench.Drive(5, false);
  }
  EXPECT_EQ(bench.Text().substr(bench.Text().find("$end\n#1")), "$end\n#1000\n0!\n1!\n#1500\n0!\n");
}

}  // namespace
}  // namespace orvo
