// SPI: the exchange on the wires, and models in threads of their own. The threads share plain data
// with the simulation, so that the thread sanitiser sees every moment in which both run.
#include <gmock/gmock.h>

#include <functional>
#include <string>
#include <thread>

#include "support/error_of.h"
#include "wires/spi_master.h"
#include "wires/spi_slave.h"
#include "wires/spi_slave_stream.h"

namespace orvo {
namespace {

using testing::HasSubstr;

constexpr unsigned kMosi = 1, kMiso = 2, kSs = 3, kSclk = 4;
constexpr SpiSlaveConfig kConfig{kMosi, kMiso, kSs, kSclk, 0b1010, 5'000'000, kMsbFirst};

struct Bus {
  Bus() {
    master.SetFrequency(5'000'000);
    master.SetSpiMode(8);
    master.SetBitOrder(kMsbFirst);
  }

  void Select(bool on) { wires.SetWireLevel(kSs, !on, kSs, false, nullptr, false); }
  // After the slave was made: it hears the settings.
  void Begin() {
    Select(true);
    master.SetSclkPin(kSclk);
  }
  std::string Send(const std::string& text) {
    std::vector<unsigned char> data(text.begin(), text.end());
    std::vector<unsigned char> answer = master.SendData(data);
    for (unsigned char& byte : answer) byte = byte == 0 ? '.' : byte;
    return {answer.begin(), answer.end()};
  }

  WireManager wires{nullptr, 200, false, true};
  SpiMaster master{&wires, {kMosi, kMiso, kSclk}};
};

TEST(Spi, SlaveAnswersWhileSelectedAndWarnsOfSettingsThatDontSuit) {
  Bus bus;
  std::string heard;
  SpiSlaveBase slave(bus.wires, kConfig);
  slave.SetWriteCallback([&](const std::vector<unsigned char>& data) {
    heard.append(data.begin(), data.end());
    return std::vector<unsigned char>{'o', 'k'};
  });
  testing::internal::CaptureStderr();
  EXPECT_EQ(bus.Send("no"), "..");
  bus.Select(true);
  EXPECT_EQ(bus.Send("abcd"), "ok..");  // the slave missed the settings
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Warning: SPI mode does not match to slave\n"
            "Warning: master SPI frequency is higher than the maximum supported by the slave\n"
            "Warning: master SPI bit order does not match to the slave\n");

  testing::internal::CaptureStderr();
  bus.Begin();
  EXPECT_EQ(bus.Send("e"), "ok");
  bus.Select(false);
  EXPECT_EQ(bus.Send("stale"), "ok");
  EXPECT_EQ(heard, "abcde");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  const unsigned char noise = 'x';
  EXPECT_THAT(ErrorOf([&] { bus.wires.SendDataOverWire(kSclk, 9, &noise, 1, nullptr); }),
              HasSubstr("no SPI packet on SCLK, wire 4: 1 bytes"));
}

// The model answers every byte with the one before it, in pieces of another length than the
// master's.
TEST(SpiSlave, ModelAndSimulationNeverRunTogether) {
  Bus bus;
  SpiSlave slave(bus.wires, kConfig);
  bus.Begin();
  std::string log;
  std::thread model([&] {
    unsigned char last = '0', next = 0;
    for (unsigned char pair[2]; slave.Transmit(&last, &next, 1) == 1;) {
      log += static_cast<char>(next);
      if (next == '|') {  // a command of two bytes, or less
        const unsigned long count = slave.Transmit(nullptr, pair, 2);
        log += std::to_string(count);
      }
      last = next;
    }
    log += slave.WaitForMasterTransmit() ? "?" : "end";
  });
  std::string expected, sent, got;
  for (int round = 0; round < 300; ++round) {
    const std::string text(static_cast<unsigned long>(round % 4),
                           static_cast<char>('a' + round % 26));
    got += bus.Send(text + "x");
    sent += text + "x";
    log += ' ';
    expected += text + "x ";
  }
  EXPECT_EQ(got, "0" + sent.substr(0, sent.size() - 1));
  EXPECT_EQ(bus.Send("|yz"), "x..");
  bus.Send("|q");
  bus.Select(false);  // ends the command after one byte
  EXPECT_FALSE(slave.IsSsActive());
  log += '!';
  slave.Detach();
  model.join();
  EXPECT_EQ(log, expected + "|2|1!end");
  bus.Select(true);
  EXPECT_EQ(bus.Send("abc"), "...");
}

TEST(SpiSlave, ModelThatWaitsForATransferMayLeaveItWithoutAnswer) {
  Bus bus;
  SpiSlave slave(bus.wires, kConfig);
  bus.Begin();
  std::thread model([&] {
    unsigned char answer[] = "hi";
    slave.WaitForMasterTransmit();  // left alone
    slave.WaitForMasterTransmit();
    slave.Transmit(answer, nullptr, 2);
  });
  EXPECT_EQ(bus.Send("ab"), "..");
  EXPECT_EQ(bus.Send("cdef"), "hi..");  // and the model's thread ends
  EXPECT_EQ(bus.Send("gh"), "..");
  model.join();
}

TEST(SpiSlaveStream, EachByteIsAnsweredByWhatTheModelKnowsThen) {
  Bus bus;
  SpiSlaveStream stream(bus.wires, kConfig);
  bus.Begin();
  std::string log;
  std::thread model([&] {
    unsigned char data[4] = "abc";
    stream.Write(data, 3);
    while (stream.Read(data, 2) == 2) {
      log += std::string(data, data + 2);
      stream.Write(data, 2);
    }
    log += "end";
    stream.SetBlocking(SpiSlaveStream::Blocking::kYes);
  });
  EXPECT_EQ(bus.Send("12"), "ab");
  log += ' ';
  EXPECT_EQ(bus.Send("3456"), "c123");
  log += ' ';
  EXPECT_EQ(bus.Send("78"), "45");
  log += ' ';
  for (int round = 0; round < 300; ++round) {
    bus.Send("9");
    log += '.';
  }
  stream.Detach();
  model.join();
  EXPECT_THAT(log, testing::StartsWith(" 1234 56 78..99..99.."));
  EXPECT_THAT(log, testing::EndsWith("end"));
}

// Whoever goes away, the other side doesn't wait for it.
TEST(SpiSlaveStream, NoSideWaitsForOneThatHasGone) {
  Bus bus;
  unsigned char byte = 0, bytes[9];
  {
    auto stream = std::make_unique<SpiSlaveStream>(bus.wires, kConfig);
    bus.Begin();
    std::thread([&] { stream->SetBlocking(SpiSlaveStream::Blocking::kYes); }).join();
    EXPECT_EQ(bus.Send("a"), ".");  // the model waits for something else
    std::thread reader([&] {
      for (const unsigned long count : {1, 1, 1, 0}) EXPECT_EQ(stream->Read(&byte, 1), count);
    });
    bus.Send("b");
    bus.Send("c");
    stream->Detach();
    reader.join();
  }
  auto slave = std::make_unique<SpiSlave>(bus.wires, kConfig);
  std::thread ended([&] { slave->Transmit(nullptr, &byte, 1); });
  bus.Send("d");
  ended.join();
  EXPECT_EQ(bus.Send("e"), ".");  // the model's thread has ended without a word
  slave = std::make_unique<SpiSlave>(bus.wires, kConfig);
  std::thread destroyed_under(
      [&, model = slave.get()] { model->Transmit(nullptr, bytes, sizeof bytes); });
  EXPECT_EQ(bus.Send("fgh"), "...");
  slave.reset();
  destroyed_under.join();

  SpiSlave never_served(bus.wires, kConfig);
  bus.Begin();
  std::thread stop([] { OrvoSignals::Get().terminate.emit(0); });
  EXPECT_EQ(bus.Send("ij"), "..");
  stop.join();
}

}  // namespace
}  // namespace orvo
