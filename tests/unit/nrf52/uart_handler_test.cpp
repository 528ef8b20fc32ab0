// UART and UARTE on a small chip: RX on wire 8, TX on wire 6, 64 MHz, interrupt 2. What firmware
// sees of reception is in tests/system/nrf52_serial_test.cpp.
#include "peripherals/nrf52/uart_handler.h"

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "support/error_of.h"
#include "support/temporary_directory.h"
#include "support/test_mcu.h"
#include "unit/wires/wire_listener.h"

namespace orvo {
namespace {

using testing::ElementsAre;

using U = Nrf52UARTE;

constexpr unsigned kUart = 4, kUarte = 8;  // ENABLE
constexpr unsigned k115200 = 0x01D60000;   // BAUDRATE, really 115108 bit/s
constexpr unsigned kBitTicks = 555;        // at that rate
constexpr unsigned kByteTicks = 5550;      // ten bits, from BAUDRATE
constexpr unsigned kWordTicks = 5559;      // the same from 86874 ns, the pace of the line
constexpr unsigned kBuffer = TestMcu::kRamStart + 0x100;

struct Bench {
  static constexpr unsigned kBase = 0x40002000;
  static constexpr int kInterrupt = 2;

  explicit Bench(unsigned enable) {
    const InterruptMap interrupts{{"UARTE0_UART0", kInterrupt}};
    uart = new UartHandler(&mcu, "UARTE", kBase, 4096, interrupts, nlohmann::json());
    uart->SetResetValues(U::reset_values());
    mcu.memory().AddSection(uart);
    wires.ConnectToWireData(&far_end, 6, 0);
    Set(U::PSEL_RXD, 8);
    Set(U::PSEL_TXD, 6);
    Set(U::BAUDRATE, k115200);
    Set(U::ENABLE, enable);
  }

  void Set(unsigned offset, unsigned value) { mcu.memory().set<true>(kBase + offset, value); }
  unsigned Get(unsigned offset) { return mcu.memory().get<true>(kBase + offset); }
  void Advance(unsigned ticks) { mcu.clock().Tickrement(static_cast<int>(ticks)); }
  // The line brings bytes, one word time each.
  void Bring(const std::string& text) {
    wires.SendDataOverWire(8, 0, std::vector<unsigned char>(text.begin(), text.end()), nullptr);
    Advance(kWordTicks * static_cast<unsigned>(text.size()));
  }
  bool TakeInterrupt() {
    const bool pending = mcu.isPending(kInterrupt);
    mcu.interrupts().SetPending(kInterrupt, false);
    return pending;
  }
  void StartReception(unsigned max_count) {
    Set(U::RXD_PTR, kBuffer);
    Set(U::RXD_MAXCNT, max_count);
    Set(U::TASKS_STARTRX, 1);
  }
  void StartTransmission(unsigned max_count) {
    Set(U::TXD_PTR, kBuffer);
    Set(U::TXD_MAXCNT, max_count);
    Set(U::TASKS_STARTTX, 1);
  }

  WireManager wires{nullptr, 200, false, false};
  DataListener far_end;
  TestMcu mcu{&wires};
  UartHandler* uart;  // owned by the chip's memory
};

// Bits of INTEN.
constexpr unsigned kEndRx = InterruptBit(U::EVENTS_ENDRX), kEndTx = InterruptBit(U::EVENTS_ENDTX),
                   kTxdrdy = InterruptBit(U::EVENTS_TXDRDY),
                   kTxStarted = InterruptBit(U::EVENTS_TXSTARTED);

// --- Transmission ------------------------------------------------------------------------------

TEST(UartHandler, TransmissionInterruptsWithTheTaskByModeAndLength) {
  // clang-format off
  const struct { unsigned mode, max_count, inten; bool raised; } kCases[] = {
      {kUarte, 2, kTxStarted, true},  {kUarte, 2, kTxdrdy,     true},  {kUarte, 2, kEndTx, true},
      {kUarte, 0, kTxStarted, true},  {kUarte, 0, kTxdrdy,     false}, {kUarte, 0, kEndTx, true},
      {kUart,  2, kTxStarted, true},  {kUart,  2, ~kTxStarted, false}, {0,      2, kTxStarted, true},
      {kUarte, 2, ~(kTxStarted | kTxdrdy | kEndTx), false}};
  // clang-format on
  for (const auto& c : kCases) {
    Bench bench(c.mode);
    bench.Set(U::INTEN, c.inten);
    bench.StartTransmission(c.max_count);
    EXPECT_EQ(bench.TakeInterrupt(), c.raised) << c.mode << " " << c.max_count << " " << c.inten;
    EXPECT_EQ(bench.Get(U::EVENTS_ENDTX), c.mode == kUarte ? 1u : 0u);
    EXPECT_EQ(bench.Get(U::TXD_AMOUNT), c.mode == kUarte ? c.max_count : 0u);
    bench.Advance(10);
    EXPECT_FALSE(bench.TakeInterrupt());
  }
}

TEST(UartHandler, TxdrdyAndEndrxInterruptAtTheNextTickAndTogether) {
  Bench bench(kUarte);
  bench.Set(U::INTENSET, kEndRx | kTxdrdy);
  bench.StartReception(1);
  bench.wires.SendDataOverWire(8, 0, {'a'}, nullptr);
  bench.Advance(kWordTicks - 1);
  bench.Set(U::TXD, 0x141);
  bench.Set(U::TXD, 'B');
  EXPECT_THAT(bench.far_end.heard(), ElementsAre("wire6.pin0=A", "wire6.pin0=B"));
  EXPECT_FALSE(bench.TakeInterrupt());
  bench.Advance(1);
  EXPECT_TRUE(bench.TakeInterrupt());
  EXPECT_EQ(bench.Get(U::EVENTS_ENDRX), 1u);
  bench.Advance(1);
  EXPECT_FALSE(bench.TakeInterrupt());
}

TEST(UartHandler, TransferThatFailsHalfWayLosesNothingAndHoldsNoOutput) {
  TemporaryDirectory directory;
  Bench bench(kUarte);
  ArgsManager args;
  args.uart_output_given = true;
  args.uart_output = "file:" + (directory.path() / "out").string();
  args.SetOutputType(args.uart_output);
  OrvoSignals::Get().options_parsed.emit(args);
  for (unsigned n = 0; n < 5; ++n) bench.mcu.memory().setByte<false>(kBuffer + n, "abcde"[n]);
  bench.far_end.on_update = [&] {
    if (bench.far_end.heard().size() == 3) throw OrvoError("the far end breaks");
  };
  EXPECT_EQ(ErrorOf([&] { bench.StartTransmission(5); }), "OrvoError: the far end breaks");
  EXPECT_EQ(directory.Read("out"), "abc");
  bench.Set(U::TXD, '!');
  EXPECT_EQ(directory.Read("out"), "abc!");
}

// --- Reception ---------------------------------------------------------------------------------

TEST(UartHandler, ResetKeepsUnreadBytesDropsEventsThatWaitAndLetsReceptionStartAgain) {
  Bench bench(kUart);
  bench.Bring("0123456");
  bench.Set(U::TASKS_STARTRX, 1);
  bench.Set(U::INTENSET, kTxdrdy);
  bench.Set(U::TXD, 'x');
  bench.Set(U::TASKS_STOPRX, 1);
  bench.uart->Reset(kSoftwareReset);
  bench.Advance(50 * kBitTicks);
  for (const unsigned event : {U::EVENTS_RXSTARTED, U::EVENTS_RXDRDY, U::EVENTS_RXTO}) {
    EXPECT_EQ(bench.Get(event), 0u) << event;
  }
  EXPECT_FALSE(bench.TakeInterrupt());
  bench.Set(U::ENABLE, kUart);
  bench.Set(U::BAUDRATE, k115200);
  bench.Set(U::TASKS_STARTRX, 1);
  bench.Advance(kByteTicks);
  EXPECT_EQ(bench.Get(U::EVENTS_RXSTARTED), 1u);
  EXPECT_EQ(bench.Get(U::EVENTS_RXDRDY), 1u);
  std::string read;
  for (int n = 0; n < 7; ++n) read += static_cast<char>(bench.Get(U::RXD));
  EXPECT_EQ(read, "0123456");
}

// --- Registers ---------------------------------------------------------------------------------

TEST(UartHandler, EventIsCaughtUpOnByIntensetAndClearingMayRaise) {
  // clang-format off
  const struct { unsigned event; bool caught_up, clearing_raises; } kCases[] = {
      {U::EVENTS_CTS,    true,  false}, {U::EVENTS_NCTS,      true,  false},
      {U::EVENTS_RXDRDY, true,  false}, {U::EVENTS_TXDRDY,    true,  false},
      {U::EVENTS_ERROR,  true,  false}, {U::EVENTS_RXTO,      true,  true},
      {U::EVENTS_ENDRX,  false, false}, {U::EVENTS_ENDTX,     false, false},
      {U::EVENTS_RXSTARTED, false, true}, {U::EVENTS_TXSTARTED, false, false}};
  // clang-format on
  for (const auto& c : kCases) {
    Bench bench(kUart);
    bench.Set(c.event, 1);
    bench.Set(U::INTENSET, ~InterruptBit(c.event));
    EXPECT_FALSE(bench.TakeInterrupt());
    bench.Set(U::INTENSET, InterruptBit(c.event));
    EXPECT_EQ(bench.TakeInterrupt(), c.caught_up) << c.event;
    bench.Set(c.event, 0);
    EXPECT_EQ(bench.TakeInterrupt(), c.clearing_raises) << c.event;
    bench.Set(U::INTENCLR, ~0x18u);
    EXPECT_EQ(bench.Get(U::INTEN) & bench.Get(U::INTENSET) & bench.Get(U::INTENCLR), 0x18u);
  }
}

TEST(UartHandler, PinNumbersAreWireNumbersOfSixBits) {
  Bench bench(kUart);
  DataListener wire;
  bench.wires.ConnectToWireData(&wire, 5, 0);
  bench.Set(U::PSEL_TXD, 0xffffff45);
  EXPECT_EQ(bench.Get(U::PSEL_TXD), 0xffffff45);
  bench.Set(U::TXD, 'x');
  EXPECT_THAT(wire.heard(), ElementsAre("wire5.pin0=x"));
}

TEST(UartHandler, RefusesWhatItHasNoModelFor) {
  Bench bench(kUarte);
  EXPECT_EQ(ErrorOf([&] { bench.Set(U::TASKS_FLUSHRX, 1); }),
            "OrvoError: Nrf52UARTE::set_TASKS_FLUSHRX: unsupported task");
  EXPECT_EQ(ErrorOf([&] { bench.Set(U::TASKS_SUSPEND, 1); }),
            "OrvoError: Nrf52UARTE::set_TASKS_SUSPEND: unsupported task");
  bench.Set(U::ENABLE, 0x1a);
  EXPECT_EQ(ErrorOf([&] { bench.Set(U::TASKS_STARTTX, 1); }),
            "OrvoError: Invalid value for UART enable register: 10 in UartHandler");
}

}  // namespace
}  // namespace orvo
