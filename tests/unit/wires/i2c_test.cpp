// I2C: every packet on SDA with its tick, states that don't fit, and slaves in threads of their
// own.
#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "support/error_of.h"
#include "support/test_mcu.h"
#include "wires/i2c_master_high_level.h"
#include "wires/i2c_packet.h"
#include "wires/i2c_slave.h"
#include "wires/wire_manager.h"

namespace orvo {
namespace {

using Bytes = std::vector<unsigned char>;
using testing::HasSubstr;

constexpr unsigned kSda = 5;
constexpr unsigned kTicksPerBit = 10;

std::string Text(const Bytes& bytes) { return {bytes.begin(), bytes.end()}; }

// Notes the packets as "80:address 52", each when it is sent.
struct Bus : Observer<WireDataEvent> {
  Bus() {
    wires.ConnectToWireData(this, kSda, kSda);
    master.SetI2cFrequency(64'000'000 / kTicksPerBit);
    master.ReadFinishedCallback([this](const Bytes& data) { log += "read " + Text(data) + "|"; });
    master.WriteFinishedCallback([this] { log += "written|"; });
  }

  void Update(std::vector<WireDataEvent>* events) override {
    const WireDataEvent& event = events->front();
    log += std::to_string(mcu.clock().ticks()) + " " + I2cPacketHeaderMap.at(event.data[0]);
    if (event.size == 2) log += std::string(" ") + static_cast<char>(event.data[1]);
    if (event.size == 8) log += " " + std::to_string(event.data[4]);
    log += '|';
  }
  std::string Run(int ticks = 3000) {
    mcu.clock().Tickrement(ticks);
    return std::exchange(log, "");
  }

  WireManager wires{nullptr, 200, false, true};
  TestMcu mcu{&wires};
  I2cMasterHighLevel master{&mcu, wires};
  std::string log;
};

// A slave at 0x20 that gives 'a', 'b' and so on.
struct Letters : I2cSlaveBase {
  explicit Letters(Bus& bus) : I2cSlaveBase(&bus.mcu, bus.wires) {
    SetSdaWire(kSda);
    Enable();
    AddAddress(0x20);
    ReadCallback([](unsigned char, int index, unsigned char* byte) {
      *byte = static_cast<unsigned char>('a' + index);
      return true;
    });
  }
};

// Bytes are printable: address 0x20 is '@' for a write, 'A' for a read.
TEST(I2c, EveryPacketHasItsTick) {
  struct Case {
    const char* name;
    std::function<void(Bus&)> start;
    const char* packets;
  };
  const Case kCases[] = {
      {"write",
       [](Bus& bus) {
         bus.master.Write(0x20, kSda, {'x', 'n'});
       },
       "0 frequency 10|0 start|80 byte from master @|80 ack|170 byte from master x|170 ack|"
       "260 byte from master n|260 nack|260 stop|written|"},
      {"read", [](Bus& bus) { bus.master.Read(0x20, kSda, 2); },
       "0 frequency 10|0 start|80 byte from master A|80 ack|169 byte from slave a|180 ack|"
       "259 byte from slave b|270 nack|read ab|270 stop|"},
      {"both", [](Bus& bus) { bus.master.WriteRead(0x20, kSda, {'x'}, 1); },
       "0 frequency 10|0 start|80 byte from master @|80 ack|170 byte from master x|170 ack|"
       "170 frequency 10|170 start|250 byte from master A|250 ack|339 byte from slave a|"
       "350 nack|read a|350 stop|"},
      {"nobody", [](Bus& bus) { bus.master.Write(0x22, kSda, {'x'}); },
       "0 frequency 10|0 start|80 byte from master D|170 byte from master x|170 stop|written|"},
      {"masked", [](Bus& bus) { bus.master.Write(0x31, kSda, {'x'}); },
       "0 frequency 10|0 start|80 byte from master b|80 ack|170 byte from master x|170 ack|"
       "170 stop|written|"},
  };
  for (const Case& test : kCases) {
    Bus bus;
    Letters slave(bus), other(bus);
    other.ClearAddresses();
    other.AddAddress(0x21);
    slave.AddAddress(0x30, 0x7e);
    slave.WriteCallback([](unsigned char, unsigned char byte, int) { return byte != 'n'; });
    test.start(bus);
    EXPECT_EQ(bus.Run(), test.packets) << test.name;
  }
}

TEST(I2c, SuspendedTransferPollsOnceABitAndSendsNothing) {
  Bus bus;
  I2cMasterLogiclevel master(&bus.mcu, bus.wires);
  std::string bytes = "xy";
  int resumed = 0;
  master.GetNextByteCallback([&](unsigned index) -> unsigned char { return bytes.at(index); });
  master.SuspendedResumeCallback([&] { ++resumed; });
  master.StartTX(0x20, kSda, kTicksPerBit);
  bus.Run(175);
  master.Suspend();
  EXPECT_EQ(bus.Run(1000), "");
  master.Resume();
  EXPECT_EQ(bus.Run(10), "1180 byte from master y|");
  EXPECT_EQ(resumed, 3);
  bus.Run(100);  // waits for a third byte, and asks for it each 8 bits
  bytes += 'z';
  EXPECT_EQ(bus.Run(100), "1350 byte from master z|");
  master.Stop();
  EXPECT_EQ(bus.Run(), "1385 stop|");
}

// The next start follows within the byte of the slave, or later. Meanwhile the slave may have left
// the wire.
TEST(I2c, AfterAResetAtAnyTickOfATransferTheNextOneWorks) {
  for (int tick = 0; tick < 1120; ++tick) {
    Bus bus;
    Letters slave(bus);
    std::string log;
    slave.WriteCallback([&](unsigned char, unsigned char, int index) {
      return log += std::to_string(index), true;
    });
    I2cMasterLogiclevel master(&bus.mcu, bus.wires);
    master.GetNextByteCallback([](unsigned) { return 'x'; });
    master.ByteSentCallback([&](unsigned count) { return count == 2 && (master.Stop(), true); });
    master.ByteReceivedCallback([&](unsigned index, unsigned char byte, unsigned) {
      return log += static_cast<char>(byte), index == 0;
    });
    master.AckOrNackSentCallback([&](bool ack) { ack ? void() : master.Stop(); });
    master.Initialize(tick % 2 == 0, 0x20, kSda, kTicksPerBit);
    bus.Run(tick / 4);
    master.Reset();
    if (tick % 3 == 0) slave.DisconnectSdaWire();
    bus.Run(tick % 4 < 2 ? 1 : 100);
    slave.SetSdaWire(kSda);
    log.clear();
    for (const bool read : {true, false}) {
      master.Initialize(read, 0x20, kSda, kTicksPerBit);
      bus.Run();
    }
    EXPECT_EQ(log, "ab01") << tick;
  }
}

TEST(I2c, MistakesAreNamed) {
  Bus bus;
  EXPECT_THAT(ErrorOf([&] { bus.master.SetI2cFrequency(0), bus.master.Read(1, kSda, 1); }),
              HasSubstr("In order to set the frequency use 'set_frequency'"));
  bus.master.SetI2cFrequency(6'400'000);
  EXPECT_THAT(ErrorOf([&] { bus.master.Write(1, kSda, {}); }), HasSubstr("at least one byte"));
  bus.master.Read(0x20, kSda, 1);
  EXPECT_THAT(ErrorOf([&] { bus.master.Read(1, kSda, 1); }), HasSubstr("still under way"));
  EXPECT_EQ(ErrorOf([&] { bus.Run(); }),
            "OrvoError: Incorrect state, expected kPacketTypeByteFromSlave, got byte from master "
            "in I2cMasterWireLevel");

  struct Case {
    Bytes packets;  // kinds; an address byte follows a 2
    const char* error;
  };
  const Case kCases[] = {
      {{1, 2, 3},
       "State mismatch, expecting for stop/start/byteFromMaster packet, got byte from "
       "slave packet in I2cSlaveBase::Update"},
      {{1, 9, 5}, "Unknown state: transmit in I2cSlaveBase::Update"},
  };
  for (const Case& test : kCases) {
    I2cSlaveBase slave(&bus.mcu, bus.wires);
    slave.SetSdaWire(kSda);
    slave.Enable();
    slave.AddAddress(0x20);
    const auto send = [&](Bytes packet) { bus.wires.SendDataOverWire(kSda, 0, packet, nullptr); };
    send({1});
    send({2, static_cast<unsigned char>(test.packets[1] == 9 ? 0x41 : 0x40)});
    EXPECT_THAT(ErrorOf([&] { send({test.packets[2], 0}); }), HasSubstr(test.error));
    EXPECT_THAT(ErrorOf([&] { send({6}); }), HasSubstr("I2C packet of 1 bytes on wire 5"));
  }
}

// Keeps what is written by three bytes at a time, and gives it back.
struct Model final : iI2cSlaveHandlerV1 {
  void OnMasterWrite(unsigned char address, iI2cSlaveBaseReadStreamV1* stream) override {
    log += std::to_string(address) + "<";
    do {
      unsigned char bytes[3];
      const unsigned long count = stream->ReadAndSendAck(bytes, sizeof bytes);
      kept.append(bytes, bytes + count);
      log += std::to_string(count);
    } while (!stream->ReceivedStop() && kept.size() < 6);
    log += '|';
  }
  void OnMasterRead(unsigned char address, iI2cSlaveBaseWriteStreamV1* stream) override {
    log += std::to_string(address) + ">";
    Bytes bytes(kept.begin(), kept.end());
    for (unsigned char& byte : bytes) {
      if (stream->Write(&byte, 1) == 0) break;
      log += '1';
    }
    log += stream->ReceivedNack() ? "n|" : "|";
  }

  std::string kept, log;
};

TEST(I2cSlave, HandlersRunInAlternationWithTheSimulation) {
  Bus bus;
  Model model;
  I2cSlave slave(&bus.mcu, bus.wires);
  slave.SetSdaWire(kSda);
  slave.SetSlaveAddress(0x20, 0x7f);
  slave.SetHandler(&model);
  slave.Enable();
  bus.wires.DisconnectFromWireData(&bus, kSda, kSda);
  std::string expected;
  for (int round = 0; round < 100; ++round) {
    model.kept.clear();
    bus.master.WriteRead(0x20, kSda, {'a', 'b', 'c', 'd'}, 3);
    EXPECT_EQ(bus.Run(), "read abc|");
    model.log += ' ';
    expected += "32<31|32>111n| ";  // the fourth byte is left after it has asked for three
  }
  EXPECT_EQ(model.log, expected);

  model.log = model.kept = "";
  bus.master.Write(0x20, kSda, {'1', '2', '3', '4', '5', '6', '7'});
  bus.Run();
  EXPECT_EQ(model.log, "32<33|");  // refuses the seventh
  bus.master.Read(0x20, kSda, 7);
  testing::internal::CaptureStderr();
  EXPECT_EQ(bus.Run(), "read 123456\xff|");
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("reads 0xff"));

  bus.master.Write(0x20, kSda, {'1', '2'});
  bus.Run(200);  // up to the second byte: the handler stands
  slave.close();
  bus.Run();
  bus.master.Write(0x20, kSda, {'3'});
  bus.Run();
  EXPECT_THAT(model.log, testing::EndsWith("|"));
}

}  // namespace
}  // namespace orvo
