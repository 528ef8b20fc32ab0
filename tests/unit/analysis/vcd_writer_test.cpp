#include "analysis/vcd_writer.h"

#include <gtest/gtest.h>

#include "support/temporary_directory.h"
#include "support/test_mcu.h"
#include "unit/wires/wire_listener.h"
#include "wires/wire_manager.h"

namespace orvo {
namespace {

TEST(VcdWriter, WritesThePinsThatChangedInNanosecondsOfVirtualTime) {
  const TemporaryDirectory directory;
  WireManager wires{nullptr, 200, false, true};
  TestMcu mcu{&wires};
  const auto drive = [&](unsigned wire, bool level, int after_ticks = 0) {
    mcu.clock().Tickrement(after_ticks);
    wires.SetWireLevel(wire, level, 0, false, nullptr, false);
  };
  wires.AddPinName("P0_5", 5);
  wires.AddPinName("P0_6", 6);
  wires.AddPinName("P0_7", WireManager::kGnd);
  wires.AddPinName("P0_8", 8);
  wires.AddDevicePin("my $button", "in", 5);
  wires.AddDevicePin("lamp", "on", 150);
  LevelListener holder;  // keeps wire 8 high
  wires.ConnectToWireLogicState(&holder, 8, 8);
  holder.on_update = [&] { wires.SetWireLevel(8, true, 8, false, &holder, false); };
  drive(5, false);
  {
    const VcdWriter vcd(directory.path() / "pins.vcd", mcu);
    drive(5, true, 1);
    drive(150, false);
    drive(151, false);  // nobody knows it
    drive(6, true);     // was high before
    drive(8, false);
    std::vector<WireChange> changes{{5, false, 0}, {5, true, 0}, {5, false, 0}};
    mcu.clock().Tickrement(640);
    wires.SetMultipleWireLevel(&changes, false, nullptr, false);
    mcu.clock().SetFrequency(128'000'000);
    drive(150, true);
    drive(150, false, 128);
    mcu.clock().Tickrement(1);
  }
  drive(5, true);  // the writer is gone
  // Blanks keep the place of what wasn't declared in the end.
  std::string text = directory.Read("pins.vcd");
  const size_t blanks = text.find("$end", text.find("$dumpvars")) + 4;
  EXPECT_EQ(text.erase(blanks, text.find('\n', blanks) - blanks),
            "$version orvo $end\n$timescale 1 ns $end\n$scope module board $end\n"
            "$var wire 1 ! P0_5 $end\n$var wire 1 $ lamp.on $end\n"
            "$var wire 1 % my__button.in $end\n$upscope $end\n$enddefinitions $end\n"
            "#0\n$dumpvars\n0!\n1$\n0%\n$end\n"
            "#15\n1!\n1%\n0$\n#10015\n0!\n0%\n1$\n#11015\n0$\n#11022\n");
}

}  // namespace
}  // namespace orvo
