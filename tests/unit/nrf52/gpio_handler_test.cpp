// GPIO and GPIOTE where a program can't look: batches, resets, and the wires of two ports.
#include "peripherals/nrf52/gpio_handler.h"

#include <gmock/gmock.h>

#include "peripherals/nrf52/gpiote_handler.h"
#include "runner/errors.h"
#include "support/test_mcu.h"
#include "unit/memory/recorder.h"
#include "unit/nrf52/chip_bench.h"
#include "unit/wires/wire_listener.h"

namespace orvo {
namespace {

using testing::ElementsAre;
using testing::SizeIs;

constexpr unsigned kPort = 0x50000000;
constexpr unsigned kGpiote = 0x40006000;
constexpr unsigned kEventsIn = kGpiote + Nrf52GPIOTE::EVENTS_IN;
constexpr unsigned kIntenSet = kGpiote + Nrf52GPIOTE::INTENSET;
constexpr unsigned kGpioteLine = 6;

constexpr unsigned PinCnf(unsigned pin) { return kPort + Nrf52GPIO::PIN_CNF + 4 * pin; }
constexpr unsigned Config(unsigned channel) { return kGpiote + Nrf52GPIOTE::CONFIG + 4 * channel; }

// Changes of wires, as one batch.
template <class Bench>
void Drive(Bench& bench, std::vector<WireChange> changes) {
  bench.wires.SetMultipleWireLevel(&changes, false, nullptr, false);
}

TEST(Nrf52GPIOHandler, AStoreIsOneBatchOfTheOutputsThatChange) {
  Bench832 bench;
  LevelListener board;
  for (unsigned wire = 0; wire < 32; ++wire) {
    if (wire != 7) bench.Set(PinCnf(wire), 1);
    bench.wires.ConnectToWireLogicState(&board, wire, wire);
  }
  bench.Set(kPort + Nrf52GPIO::OUT, 1u << 3 | 1u << 7 | 1u << 30);
  bench.Set(kPort + Nrf52GPIO::OUT, 1u << 3 | 1u << 7 | 1u << 30);
  EXPECT_THAT(board.heard(), ElementsAre("wire3.pin3=high wire30.pin30=high"));
  EXPECT_EQ(bench.wires.GetPinDirectionOnWire(nullptr, 7, 7), kPinAnalog);
}

TEST(Nrf52GPIOHandler, AResetMakesInputsOfAllPinsAndDoublesNoEvent) {
  Bench832 bench;
  Recorder events;
  bench.Set(PinCnf(3), 1);
  bench.mcu.Reset(kSoftwareReset);
  EXPECT_EQ(bench.Get(kPort + Nrf52GPIO::IN), ~(1u << 3));
  bench.Set(PinCnf(3), 2u << 16);
  bench.mcu.memory().GetSectionByName("GPIOTE")->SetEventObserver(&events);
  Drive(bench, {{3, true, 0}});
  Drive(bench, {{3, false, 0}});
  Drive(bench, {{3, true, 0}});
  EXPECT_THAT(events.seen, ElementsAre("4000617c 1 r", "4000617c 1 r"));
}

TEST(GPIOTEHandler, TheEnableWordIsShiftedOutOncePerBatch) {
  Bench832 bench;
  for (unsigned channel = 0; channel < 8; ++channel) {
    bench.Set(Config(channel), 1 | (channel + 1) << 8 | 3u << 16);
  }
  const auto heard = [&](unsigned enabled, std::vector<WireChange> changes) {
    unsigned channels = 0;
    bench.Set(kGpiote + Nrf52GPIOTE::INTENCLR, ~0u);
    bench.Set(kIntenSet, enabled);
    for (unsigned n = 0; n < 8; ++n) bench.Set(kEventsIn + 4 * n, 0);
    Drive(bench, changes);
    for (unsigned n = 0; n < 8; ++n) channels |= bench.Get(kEventsIn + 4 * n) << n;
    return channels;
  };
  EXPECT_EQ(heard(0, {{1, false, 0}}), 0u);
  EXPECT_EQ(heard(0x80000000, {{1, true, 0}, {2, true, 0}, {8, false, 0}}), 0x83u);
  EXPECT_FALSE(bench.mcu.isPending(kGpioteLine));
  // Bit 31 has come down to the last channel by the fourth event.
  EXPECT_EQ(heard(0x80000000, {{1, false, 0}, {2, false, 0}, {3, false, 0}, {8, true, 0}}), 0x87u);
  EXPECT_TRUE(bench.mcu.isPending(kGpioteLine));
  EXPECT_EQ(heard(0xff, {{1, true, 0}, {2, true, 0}}), 1u);
}

TEST(GPIOTEHandler, SelectsByTheNumberOfTheWire) {
  Bench832 bench(nlohmann::json::parse(R"({"P0_5": 9})"));
  bench.Set(kIntenSet, 3);
  bench.Set(Config(0), 1 | 5 << 8 | 3u << 16);
  bench.Set(Config(1), 1 | 9 << 8 | 3u << 16);
  Drive(bench, {{9, false, 0}});
  EXPECT_EQ(bench.Get(kEventsIn), 0u);
  EXPECT_EQ(bench.Get(kEventsIn + 4), 1u);
  EXPECT_EQ(bench.Get(kPort + Nrf52GPIO::IN), ~(1u << 5));
}

TEST(Nrf52840, PinsOfTheSecondPortTakeTheWiresInBoth) {
  Bench840 bench(nlohmann::json::parse(R"({"P0_5": 9, "P0_6": 10, "P1_5": 20, "P1_6": "P0_6"})"));
  for (const char* name : {"P0", "P1"}) {
    const PinManager& pins =
        bench.mcu.memory().GetSectionByName<Nrf52GPIOHandler>(name)->pin_manager();
    EXPECT_EQ(pins.GetWire(5), 20u) << name;
    EXPECT_EQ(pins.GetWire(6), 10u) << name;
  }
  EXPECT_EQ(bench.wires.Pin2Wire("P0_5"), 9u);
  // GPIOTE is on the same wires, once for each port.
  bench.Set(kIntenSet, 1);
  bench.Set(Config(0), 1 | 20 << 8 | 3u << 16);
  Drive(bench, {{20, false, 0}});
  EXPECT_EQ(bench.Get(kEventsIn), 1u);
}

TEST(GPIOTEHandler, NeedsThePortAndThePortNeedsWires) {
  TestMcu mcu;
  const auto make = [&](auto* block, const char* name) {
    using Block = std::remove_pointer_t<decltype(block)>;
    try {
      Block(&mcu, name, 0x40006000, 4096, {{name, 6}}, nlohmann::json());
    } catch (const OrvoError& error) {
      return error.message();
    }
    return std::string();
  };
  EXPECT_EQ(make(static_cast<Nrf52GPIOHandler*>(nullptr), "P0"), "P0: the chip has no wires");
  EXPECT_EQ(make(static_cast<GPIOTEHandler*>(nullptr), "GPIOTE"),
            "Unknown section : P0 in memory section");
}

}  // namespace
}  // namespace orvo
