// UART and UARTE on a small chip: RX on wire 8, TX on wire 6, 64 MHz, interrupt 2.
#include "peripherals/nrf52/uart_handler.h"

#include <gmock/gmock.h>

#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "runner/errors.h"
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

// Bits of INTEN.
constexpr unsigned kCts = 1, kNcts = 2, kRxdrdy = 4, kEndRx = 0x10, kTxdrdy = 0x80, kEndTx = 0x100,
                   kError = 0x200, kRxto = 0x20000, kRxStarted = 0x80000, kTxStarted = 0x100000;

struct Bench {
  static constexpr unsigned kBase = 0x40002000;
  static constexpr int kInterrupt = 2;

  explicit Bench(unsigned enable, unsigned baud = k115200) {
    const InterruptMap interrupts{{"UARTE0_UART0", kInterrupt}};
    uart = new UartHandler(&mcu, "UARTE", kBase, 4096, interrupts, nlohmann::json());
    uart->SetResetValues(U::reset_values());
    mcu.memory().AddSection(uart);
    wires.ConnectToWireData(&far_end, 6, 0);
    Set(U::PSEL_RXD, 8);
    Set(U::PSEL_TXD, 6);
    Set(U::BAUDRATE, baud);
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
  void SetRam(const std::string& text) {
    for (size_t n = 0; n < text.size(); ++n) mcu.memory().setByte<false>(kBuffer + n, text[n]);
  }
  std::string Ram(unsigned length) {
    std::string text;
    for (unsigned n = 0; n < length; ++n) text += mcu.memory().getByte<false>(kBuffer + n);
    return text;
  }
  void StartReception(unsigned max_count) {
    Set(U::RXD_PTR, kBuffer);
    Set(U::RXD_MAXCNT, max_count);
    Set(U::TASKS_STARTRX, 1);
  }
  // What the chip has sent.
  std::string Sent() const {
    std::string text;
    for (const std::string& line : far_end.heard()) text += line.substr(line.find('=') + 1);
    return text;
  }

  WireManager wires{nullptr, 200, false, false};
  DataListener far_end;
  TestMcu mcu{&wires};
  UartHandler* uart;  // owned by the chip's memory
};

std::string MessageOf(const std::function<void()>& action) {
  try {
    action();
  } catch (const UserError& error) {
    return error.message();
  }
  return "";
}

// --- Transmission ------------------------------------------------------------------------------

struct TransferCase {
  unsigned max_count;
  unsigned count;
};

std::ostream& operator<<(std::ostream& out, const TransferCase& c) { return out << c.max_count; }

class UartTransmission : public testing::TestWithParam<TransferCase> {};

TEST_P(UartTransmission, SendsTheLowEightBitsOfMaxcntAtOnce) {
  Bench bench(kUarte);
  std::string text(300, '\0');
  for (size_t n = 0; n < text.size(); ++n) text[n] = static_cast<char>('0' + n % 70);
  bench.SetRam(text);
  bench.Set(U::TXD_PTR, kBuffer);
  bench.Set(U::TXD_MAXCNT, GetParam().max_count);
  bench.Set(U::TASKS_STARTTX, 0);
  EXPECT_EQ(bench.Sent(), text.substr(0, GetParam().count));
  EXPECT_EQ(bench.Get(U::TXD_AMOUNT), GetParam().count);
  EXPECT_EQ(bench.Get(U::EVENTS_TXSTARTED), 1u);
  EXPECT_EQ(bench.Get(U::EVENTS_TXDRDY), GetParam().count != 0 ? 1u : 0u);
  EXPECT_EQ(bench.Get(U::EVENTS_ENDTX), 1u);
}

INSTANTIATE_TEST_SUITE_P(Counts, UartTransmission,
                         testing::Values(TransferCase{0, 0}, TransferCase{1, 1}, TransferCase{5, 5},
                                         TransferCase{255, 255}, TransferCase{256, 0},
                                         TransferCase{0x101, 1}));

struct TxInterruptCase {
  unsigned mode, max_count, inten;
  bool raised;
};

std::ostream& operator<<(std::ostream& out, const TxInterruptCase& c) {
  return out << "ENABLE " << c.mode << " MAXCNT " << c.max_count << " INTEN " << c.inten;
}

class UartTxInterrupt : public testing::TestWithParam<TxInterruptCase> {};

TEST_P(UartTxInterrupt, ComesWithTheTask) {
  Bench bench(GetParam().mode);
  bench.Set(U::INTEN, GetParam().inten);
  bench.Set(U::TXD_PTR, kBuffer);
  bench.Set(U::TXD_MAXCNT, GetParam().max_count);
  bench.Set(U::TASKS_STARTTX, 1);
  EXPECT_EQ(bench.TakeInterrupt(), GetParam().raised);
  EXPECT_EQ(bench.Get(U::EVENTS_ENDTX), GetParam().mode == kUarte ? 1u : 0u);
  bench.Advance(10);
  EXPECT_FALSE(bench.TakeInterrupt());
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Table, UartTxInterrupt, testing::Values(
    TxInterruptCase{kUarte, 2, kTxStarted, true},
    TxInterruptCase{kUarte, 2, kTxdrdy,    true},
    TxInterruptCase{kUarte, 2, kEndTx,     true},
    TxInterruptCase{kUarte, 0, kTxStarted, true},
    TxInterruptCase{kUarte, 0, kTxdrdy,    false},
    TxInterruptCase{kUarte, 0, kEndTx,     true},
    TxInterruptCase{kUarte, 2, ~(kTxStarted | kTxdrdy | kEndTx), false},
    TxInterruptCase{kUart,  2, kTxStarted, true},
    TxInterruptCase{kUart,  2, ~kTxStarted, false},
    TxInterruptCase{0,      2, kTxStarted, true}));
// clang-format on

TEST(UartHandler, TxdSendsItsLowByteAndInterruptsAtTheNextTick) {
  Bench bench(kUart);
  bench.Set(U::INTENSET, kTxdrdy);
  bench.Set(U::TXD, 0x141);
  EXPECT_EQ(bench.Sent(), "A");
  EXPECT_EQ(bench.Get(U::EVENTS_TXDRDY), 1u);
  EXPECT_FALSE(bench.TakeInterrupt());
  bench.Advance(1);
  EXPECT_TRUE(bench.TakeInterrupt());
}

TEST(UartHandler, SecondByteBeforeTheClockIsServedIsSentToo) {
  Bench bench(kUart);
  bench.Set(U::INTENSET, kTxdrdy);
  bench.Set(U::TXD, 'A');
  bench.Set(U::TXD, 'B');
  EXPECT_EQ(bench.Sent(), "AB");
  bench.Advance(1);
  EXPECT_TRUE(bench.TakeInterrupt());
  bench.Advance(1);
  EXPECT_FALSE(bench.TakeInterrupt());
}

TEST(UartHandler, StopTxDoesNothing) {
  Bench bench(kUarte);
  bench.Set(U::TASKS_STOPTX, 1);
  EXPECT_EQ(bench.Get(U::TASKS_STOPTX), 0u);
  EXPECT_EQ(bench.Get(U::EVENTS_TXSTOPPED), 0u);
}

// --- Reception through the FIFO ----------------------------------------------------------------

TEST(UartHandler, RxdrdyFollowsTheByteAfterOneByteTime) {
  Bench bench(kUart);
  bench.Set(U::INTENSET, kRxdrdy | kRxStarted);
  bench.Set(U::TASKS_STARTRX, 1);
  EXPECT_EQ(bench.Get(U::EVENTS_RXSTARTED), 0u);
  bench.Advance(1);
  EXPECT_EQ(bench.Get(U::EVENTS_RXSTARTED), 1u);
  EXPECT_TRUE(bench.TakeInterrupt());
  bench.Bring("A");
  bench.Advance(kByteTicks - 1);
  EXPECT_EQ(bench.Get(U::EVENTS_RXDRDY), 0u);
  bench.Advance(1);
  EXPECT_EQ(bench.Get(U::EVENTS_RXDRDY), 1u);
  EXPECT_TRUE(bench.TakeInterrupt());
  EXPECT_EQ(bench.Get(U::RXD), unsigned{'A'});
}

TEST(UartHandler, NextRxdrdyWaitsForTheReadOfTheFifo) {
  Bench bench(kUart);
  bench.Set(U::TASKS_STARTRX, 1);
  bench.Bring("ab");
  bench.Advance(10 * kByteTicks);
  bench.Set(U::EVENTS_RXDRDY, 0);
  bench.Advance(10 * kByteTicks);
  EXPECT_EQ(bench.Get(U::EVENTS_RXDRDY), 0u);
  EXPECT_EQ(bench.Get(U::RXD), unsigned{'a'});
  bench.Advance(kByteTicks);
  EXPECT_EQ(bench.Get(U::EVENTS_RXDRDY), 1u);
  bench.Set(U::EVENTS_RXDRDY, 0);
  EXPECT_EQ(bench.Get(U::RXD), unsigned{'b'});
  bench.Advance(10 * kByteTicks);
  EXPECT_EQ(bench.Get(U::EVENTS_RXDRDY), 0u);
}

TEST(UartHandler, FifoHoldsSixBytesAndTheRestWaitsBehindIt) {
  Bench bench(kUart);
  bench.Set(U::TASKS_STARTRX, 1);
  bench.Bring("0123456789");
  std::string read;
  for (int n = 0; n < 10; ++n) read += static_cast<char>(bench.Get(U::RXD));
  EXPECT_EQ(read, "0123456789");
}

TEST(UartHandler, UnreadBytesSurviveAReset) {
  Bench bench(kUart);
  bench.Bring("0123456");
  bench.uart->Reset(kSoftwareReset);
  bench.Set(U::ENABLE, kUart);
  bench.Set(U::BAUDRATE, k115200);
  bench.Set(U::TASKS_STARTRX, 1);
  bench.Advance(kByteTicks);
  EXPECT_EQ(bench.Get(U::EVENTS_RXDRDY), 1u);
  std::string read;
  for (int n = 0; n < 7; ++n) read += static_cast<char>(bench.Get(U::RXD));
  EXPECT_EQ(read, "0123456");
}

TEST(UartHandler, EmptyFifoReadsZeroWithAWarning) {
  Bench bench(kUart);
  testing::internal::CaptureStderr();
  EXPECT_EQ(bench.Get(U::RXD), 0u);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Warning: Trying to read from an empty uart\n");
}

// --- Reception into RAM ------------------------------------------------------------------------

TEST(UartHandler, BytesGoToRamAsTheyArrive) {
  Bench bench(kUarte);
  bench.Set(U::INTENSET, kEndRx);
  bench.StartReception(3);
  bench.Bring("ab");
  EXPECT_EQ(bench.Ram(2), "ab");
  EXPECT_EQ(bench.Get(U::RXD_AMOUNT), 2u);
  EXPECT_EQ(bench.Get(U::EVENTS_RXDRDY), 1u);
  EXPECT_EQ(bench.Get(U::EVENTS_ENDRX), 0u);
  EXPECT_FALSE(bench.TakeInterrupt());
  bench.Bring("c");
  EXPECT_EQ(bench.Ram(3), "abc");
  EXPECT_EQ(bench.Get(U::RXD_AMOUNT), 3u);
  EXPECT_EQ(bench.Get(U::EVENTS_ENDRX), 1u);
  EXPECT_TRUE(bench.TakeInterrupt());
}

TEST(UartHandler, StartIsRefusedUntilTheFirmwareWritesEndrx) {
  Bench bench(kUarte);
  bench.StartReception(2);
  bench.Bring("abc");
  bench.Set(U::TASKS_STARTRX, 1);
  EXPECT_EQ(bench.Get(U::RXD_AMOUNT), 2u);
  bench.Set(U::EVENTS_ENDRX, 0);
  bench.Set(U::TASKS_STARTRX, 1);
  EXPECT_EQ(bench.Get(U::RXD_AMOUNT), 1u);
  EXPECT_EQ(bench.Ram(2), "cb");
}

TEST(UartHandler, ByteBehindAFullBufferEndsTheReceptionOnceMore) {
  Bench bench(kUarte);
  bench.Set(U::INTENSET, kEndRx);
  bench.StartReception(1);
  bench.Bring("a");
  bench.Set(U::EVENTS_ENDRX, 0);
  bench.TakeInterrupt();
  bench.Bring("b");
  EXPECT_EQ(bench.Get(U::EVENTS_ENDRX), 1u);
  EXPECT_TRUE(bench.TakeInterrupt());
  EXPECT_EQ(bench.Get(U::RXD_AMOUNT), 1u);
}

TEST(UartHandler, ReceptionTakesTheLowEightBitsOfMaxcnt) {
  Bench bench(kUarte);
  bench.StartReception(0x102);
  bench.Bring("abc");
  EXPECT_EQ(bench.Get(U::RXD_AMOUNT), 2u);
  EXPECT_EQ(bench.Get(U::EVENTS_ENDRX), 1u);
}

TEST(UartHandler, EndrxAndTxdrdyOfOneTickShareOneInterrupt) {
  Bench bench(kUarte);
  bench.Set(U::INTENSET, kEndRx | kTxdrdy);
  bench.StartReception(1);
  bench.wires.SendDataOverWire(8, 0, {'a'}, nullptr);
  bench.Advance(kWordTicks - 1);
  bench.Set(U::TXD, 'x');
  bench.Advance(1);
  EXPECT_TRUE(bench.TakeInterrupt());
  EXPECT_EQ(bench.Get(U::EVENTS_ENDRX), 1u);
}

TEST(UartHandler, BytesForADisabledBlockWaitForItsStart) {
  for (const unsigned mode : {kUart, kUarte}) {
    Bench bench(0);
    bench.Bring("ab");
    bench.Set(U::ENABLE, mode);
    EXPECT_EQ(bench.Get(U::EVENTS_RXDRDY), 0u);
    bench.StartReception(2);
    bench.Advance(kByteTicks);
    EXPECT_EQ(bench.Get(U::EVENTS_RXDRDY), 1u);
    const std::string got = mode == kUarte ? bench.Ram(2)
                                           : std::string{static_cast<char>(bench.Get(U::RXD)),
                                                         static_cast<char>(bench.Get(U::RXD))};
    EXPECT_EQ(got, "ab") << mode;
  }
}

// --- Stop --------------------------------------------------------------------------------------

TEST(UartHandler, RxtoFollowsTheStopAfterFiftyBitTimes) {
  Bench bench(kUarte);
  bench.Set(U::INTENSET, kRxto | kEndRx);
  bench.StartReception(5);
  bench.Advance(1);
  bench.Set(U::TASKS_STOPRX, 1);
  EXPECT_EQ(bench.Get(U::EVENTS_ENDRX), 1u);
  EXPECT_FALSE(bench.TakeInterrupt());
  bench.Advance(27749);
  EXPECT_EQ(bench.Get(U::EVENTS_RXTO), 0u);
  bench.Advance(1);
  EXPECT_EQ(bench.Get(U::EVENTS_RXTO), 1u);
  EXPECT_TRUE(bench.TakeInterrupt());
}

TEST(UartHandler, RxtoIsVoidOnceANewReceptionRuns) {
  Bench bench(kUarte);
  bench.StartReception(5);
  bench.Set(U::TASKS_STOPRX, 1);
  bench.Set(U::TASKS_STARTRX, 1);
  bench.Advance(50 * kBitTicks + 1);
  EXPECT_EQ(bench.Get(U::EVENTS_RXTO), 0u);
}

struct BaudCase {
  unsigned register_value;
  unsigned bits_per_second;  // 0: unknown
};

std::ostream& operator<<(std::ostream& out, const BaudCase& c) {
  return out << std::hex << c.register_value;
}

class UartBaud : public testing::TestWithParam<BaudCase> {};

TEST_P(UartBaud, SetsBitTimeAndPaceOfTheLine) {
  const unsigned baud = GetParam().bits_per_second;
  testing::internal::CaptureStderr();
  Bench bench(kUarte, GetParam().register_value);
  const std::string warning = testing::internal::GetCapturedStderr();
  EXPECT_EQ(warning.empty(), baud != 0) << warning;
  EXPECT_EQ(bench.Get(U::BAUDRATE), GetParam().register_value);
  bench.Set(U::TASKS_STOPRX, 1);
  const unsigned rxto_ticks = baud == 0 ? 1 : 50 * (64'000'000 / baud);
  bench.Advance(rxto_ticks - 1);
  EXPECT_EQ(bench.Get(U::EVENTS_RXTO), 0u);
  bench.Advance(1);
  EXPECT_EQ(bench.Get(U::EVENTS_RXTO), 1u);
  // An unknown rate leaves the line at 115200 bit/s.
  const unsigned long word_ns = 10'000'000'000 / (baud == 0 ? 115200 : baud);
  const auto word_ticks = static_cast<unsigned>(word_ns * 64 / 1000);
  bench.StartReception(1);
  bench.wires.SendDataOverWire(8, 0, {'a'}, nullptr);
  bench.Advance(word_ticks - 1);
  EXPECT_EQ(bench.Get(U::RXD_AMOUNT), 0u);
  bench.Advance(1);
  EXPECT_EQ(bench.Get(U::RXD_AMOUNT), 1u);
}

INSTANTIATE_TEST_SUITE_P(Table, UartBaud,
                         testing::Values(BaudCase{0x0004F000, 1205}, BaudCase{0x00275000, 9598},
                                         BaudCase{0x003AF000, 14401}, BaudCase{0x00EBF000, 57762},
                                         BaudCase{0x01D60000, 115108}, BaudCase{0x01D7E000, 115942},
                                         BaudCase{0x04000000, 250000}, BaudCase{0x0EBED000, 941176},
                                         BaudCase{0x10000000, 1000000}, BaudCase{0x01D60001, 0},
                                         BaudCase{0, 0}));

TEST(UartHandler, UnknownBaudRateIsReportedInHexadecimal) {
  Bench bench(kUart);
  testing::internal::CaptureStderr();
  bench.Set(U::BAUDRATE, 0xABC);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "set_BAUDRATE: Invalid value for Uart buad rate: abc\n");
}

// --- Interrupt registers -----------------------------------------------------------------------

TEST(UartHandler, InterruptRegistersMirrorOneAnother) {
  Bench bench(kUart);
  const auto all = [&] {
    return std::vector<unsigned>{bench.Get(U::INTEN), bench.Get(U::INTENSET),
                                 bench.Get(U::INTENCLR)};
  };
  bench.Set(U::INTEN, 0xf0);
  EXPECT_THAT(all(), ElementsAre(0xf0, 0xf0, 0xf0));
  bench.Set(U::INTENSET, 0x0c);
  EXPECT_THAT(all(), ElementsAre(0xfc, 0xfc, 0xfc));
  bench.Set(U::INTENCLR, 0x18);
  EXPECT_THAT(all(), ElementsAre(0xe4, 0xe4, 0xe4));
}

struct PendingCase {
  unsigned event;
  unsigned bit;
  bool caught_up;        // by an INTENSET that comes after the event
  bool clearing_raises;  // while it is enabled
};

std::ostream& operator<<(std::ostream& out, const PendingCase& c) {
  return out << std::hex << c.event;
}

class UartPending : public testing::TestWithParam<PendingCase> {};

TEST_P(UartPending, EventIsCaughtUpOn) {
  Bench bench(kUart);
  bench.Set(GetParam().event, 1);
  bench.Set(U::INTENSET, ~GetParam().bit);
  EXPECT_FALSE(bench.TakeInterrupt());
  bench.Set(U::INTENSET, GetParam().bit);
  EXPECT_EQ(bench.TakeInterrupt(), GetParam().caught_up);
  bench.Set(GetParam().event, 0);
  EXPECT_EQ(bench.TakeInterrupt(), GetParam().clearing_raises);
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Table, UartPending, testing::Values(
    PendingCase{U::EVENTS_CTS,       kCts,       true,  false},
    PendingCase{U::EVENTS_NCTS,      kNcts,      true,  false},
    PendingCase{U::EVENTS_RXDRDY,    kRxdrdy,    true,  false},
    PendingCase{U::EVENTS_TXDRDY,    kTxdrdy,    true,  false},
    PendingCase{U::EVENTS_ERROR,     kError,     true,  false},
    PendingCase{U::EVENTS_RXTO,      kRxto,      true,  true},
    PendingCase{U::EVENTS_ENDRX,     kEndRx,     false, false},
    PendingCase{U::EVENTS_ENDTX,     kEndTx,     false, false},
    PendingCase{U::EVENTS_RXSTARTED, kRxStarted, false, true},
    PendingCase{U::EVENTS_TXSTARTED, kTxStarted, false, false}));
// clang-format on

// --- The rest ----------------------------------------------------------------------------------

TEST(UartHandler, RefusesWhatItHasNoModelFor) {
  Bench bench(kUarte);
  EXPECT_EQ(MessageOf([&] { bench.Set(U::TASKS_FLUSHRX, 1); }),
            "Nrf52UARTE::set_TASKS_FLUSHRX: unsupported task");
  EXPECT_EQ(MessageOf([&] { bench.Set(U::TASKS_SUSPEND, 1); }),
            "Nrf52UARTE::set_TASKS_SUSPEND: unsupported task");
  bench.Set(U::ENABLE, 0x1a);
  EXPECT_EQ(MessageOf([&] { bench.Set(U::TASKS_STARTTX, 1); }),
            "Invalid value for UART enable register: 10 in UartHandler");
}

TEST(UartHandler, PinNumbersAreWireNumbersOfSixBits) {
  Bench bench(kUart);
  DataListener wire;
  bench.wires.ConnectToWireData(&wire, 5, 0);
  bench.Set(U::PSEL_TXD, 0xffffff45);
  EXPECT_EQ(bench.Get(U::PSEL_TXD), 0xffffff45);
  bench.Set(U::TXD, 'x');
  EXPECT_THAT(wire.heard(), ElementsAre("wire5.pin0=x"));
  bench.Set(U::PSEL_RXD, 0x40 | 9);
  bench.wires.SendDataOverWire(9, 0, {'y'}, nullptr);
  bench.Advance(kWordTicks);
  EXPECT_EQ(bench.Get(U::RXD), unsigned{'y'});
}

TEST(UartHandler, CommandsOfTheControlConnectionAreInput) {
  Bench bench(kUart);
  bench.uart->DoCommand({{"command", "write_uart_data"}, {"value", 66}});
  bench.Advance(kWordTicks);
  EXPECT_EQ(bench.Get(U::RXD), 66u);
  EXPECT_EQ(MessageOf([&] {
              bench.uart->DoCommand({{"command", "get_value"}});
            }),
            "Unknown command type: get_value in Uart");
}

TEST(UartHandler, ResetDropsEventsThatWaitAndLetsReceptionStartAgain) {
  Bench bench(kUarte);
  bench.StartReception(2);
  bench.Set(U::INTENSET, kTxdrdy);
  bench.Set(U::TXD, 'x');
  bench.Set(U::TASKS_STOPRX, 1);
  bench.Set(U::TASKS_STARTRX, 1);
  bench.uart->Reset(kSoftwareReset);
  bench.Advance(50 * kBitTicks);
  for (const unsigned event : {U::EVENTS_RXSTARTED, U::EVENTS_RXTO, U::EVENTS_ENDRX}) {
    EXPECT_EQ(bench.Get(event), 0u) << event;
  }
  EXPECT_FALSE(bench.TakeInterrupt());
  bench.Set(U::ENABLE, kUarte);
  bench.Set(U::INTENSET, kTxdrdy);
  bench.StartReception(2);
  bench.Set(U::TXD, 'y');
  bench.Advance(1);
  EXPECT_EQ(bench.Get(U::EVENTS_RXSTARTED), 1u);
  EXPECT_TRUE(bench.TakeInterrupt());
  bench.Bring("ab");
  EXPECT_EQ(bench.Ram(2), "ab");
}

}  // namespace
}  // namespace orvo
