// GPIO and GPIOTE where a program can't look: batches, resets, and the wires of two ports.
#include "peripherals/nrf52/gpio_handler.h"

#include <gmock/gmock.h>

#include "peripherals/nrf52/gpiote_handler.h"
#include "unit/memory/recorder.h"
#include "unit/nrf52/chip_bench.h"

namespace orvo {
namespace {

using testing::ElementsAre;

constexpr unsigned kPort = 0x50000000;
constexpr unsigned kGpiote = 0x40006000;
constexpr unsigned kEventsIn = kGpiote + Nrf52GPIOTE::EVENTS_IN;
constexpr unsigned PinCnf(unsigned pin) { return kPort + Nrf52GPIO::PIN_CNF + 4 * pin; }
constexpr unsigned Config(unsigned channel) { return kGpiote + Nrf52GPIOTE::CONFIG + 4 * channel; }

// Changes of wires, as one batch.
template <class Bench>
void Drive(Bench& bench, std::vector<WireChange> changes) {
  bench.wires.SetMultipleWireLevel(&changes, false, nullptr, false);
}

TEST(Nrf52GPIOHandler, AResetMakesInputsOfAllPinsAndDoublesNoEvent) {
  Bench832 bench;
  Recorder events;
  bench.Set(PinCnf(3), 1);
  bench.mcu.Reset(kSoftwareReset);
  EXPECT_EQ(bench.Get(kPort + Nrf52GPIO::IN), ~(1u << 3));
  bench.Set(PinCnf(3), 2u << 16);
  bench.mcu.memory().GetSectionByName("GPIOTE")->SetEventObserver(&events);
  for (const bool level : {true, false, true}) Drive(bench, {{3, level, 0}});
  EXPECT_THAT(events.seen, ElementsAre("4000617c 1 r", "4000617c 1 r"));
}

TEST(GPIOTEHandler, TheEnableWordIsShiftedOutOncePerBatch) {
  Bench832 bench;
  for (unsigned channel = 0; channel < 8; ++channel) {
    bench.Set(Config(channel), 1 | (channel + 1) << 8 | 3u << 16);
  }
  // The channels that had an event, and in bit 8 the interrupt.
  const auto heard = [&](unsigned enabled, std::vector<WireChange> changes) {
    bench.Set(kGpiote + Nrf52GPIOTE::INTENCLR, ~0u);
    bench.Set(kGpiote + Nrf52GPIOTE::INTENSET, enabled);
    for (unsigned n = 0; n < 8; ++n) bench.Set(kEventsIn + 4 * n, 0);
    Drive(bench, changes);
    unsigned channels = static_cast<unsigned>(bench.mcu.isPending(6)) << 8;
    for (unsigned n = 0; n < 8; ++n) channels |= bench.Get(kEventsIn + 4 * n) << n;
    return channels;
  };
  EXPECT_EQ(heard(0, {{1, false, 0}}), 0u);
  EXPECT_EQ(heard(1u << 31, {{1, true, 0}, {2, true, 0}, {8, false, 0}}), 0x083u);
  // Bit 31 has come down to the last channel by the fourth event.
  EXPECT_EQ(heard(1u << 31, {{1, false, 0}, {2, false, 0}, {3, false, 0}, {8, true, 0}}), 0x187u);
  EXPECT_EQ(heard(0xff, {{1, true, 0}, {2, true, 0}}), 0x101u);
}

// It hears it from both ports, and looks at the second as far as the enable word goes.
TEST(Nrf52840, GpioteHearsAChangeOfAWireTwice) {
  Bench840 bench(nlohmann::json::parse(R"({"P0_5": 9, "P1_5": 20})"));
  bench.Set(Config(0), 1 | 20 << 8 | 3u << 16);
  Recorder events;
  bench.mcu.memory().GetSectionByName("GPIOTE")->SetEventObserver(&events);
  const auto seen = [&](unsigned enabled) {
    bench.Set(kGpiote + Nrf52GPIOTE::INTENSET, enabled);
    events.seen.clear();
    Drive(bench, {{20, !bench.wires.GetWireLevel(20), 0}});
    return events.seen;
  };
  EXPECT_THAT(seen(1), ElementsAre("40006100 1 r"));
  EXPECT_THAT(seen(1u << 31), ElementsAre("40006100 1 r", "40006100 1 r"));
}

}  // namespace
}  // namespace orvo
