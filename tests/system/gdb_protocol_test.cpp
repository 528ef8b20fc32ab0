// The GDB server by bare packets: answers that GDB never asks for, interrupts at any moment, and
// input that no client should send.
#include <gmock/gmock.h>
#include <signal.h>

#include <random>
#include <thread>

#include "runner/text.h"
#include "support/gdb_session.h"

namespace orvo {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

constexpr char kStopped[] = "T05thread:0000dead;";

std::string Frame(const std::string& text) { return "$" + text + "#00"; }  // nobody tests the sum

// The texts of the next packets; stops at the end of the stream.
std::vector<std::string> Receive(ControlClient& client, size_t count) {
  std::vector<std::string> texts;
  while (texts.size() < count) {
    std::string text;
    for (std::string c; (c = client.ReceiveBytes(1)) != "#";) {
      if (c.empty()) return texts;
      text += c;
    }
    unsigned char sum = 0;
    EXPECT_THAT(text, StartsWith("+$"));
    text = text.substr(2);
    for (const char c : text) sum = static_cast<unsigned char>(sum + c);
    EXPECT_EQ(HexToInt(client.ReceiveBytes(2)), sum);
    texts.push_back(text);
  }
  return texts;
}
std::vector<std::string> Ask(ControlClient& client, const std::string& packet, size_t count = 1) {
  client.SendBytes(Frame(packet));
  return Receive(client, count);
}

TEST(GdbProtocol, PacketsGetTheirAnswersAndMistakesGetNone) {
  GdbSession session("debugging");
  ControlClient client = session.Client();
  const std::vector<std::pair<std::string, std::vector<std::string>>> answers = {
      {"?", {"S05"}},
      {"p2a", {"00000000"}},
      {"p42", {"00000000"}},
      {"pa", {"ffffffff"}},
      {"pc", {"00000120"}},
      {"P42=78563412", {"OK"}},
      {"p42", {"00000000"}},
      {"p117", {"00000000"}},
      {"m0,4", {"00000120"}},
      {"m0,0", {"E01"}},
      {"m7fffe,8", {"ffff"}},
      {"m30000000,4", {"E01"}},
      {"mfffffffe,8", {"E01"}},
      {"G00", {"OK"}},
      {"C0b", {"OK"}},
      {"X20000000,0:", {"OK"}},
      {"Z0,20000000,2", {"OK"}},
      {"qC", {""}},
      {"qP0", {""}},
      {"qfThreadInfo", {"m0000dead"}},
      {"qsThreadInfo", {"l"}},
      {"qOffsets", {"Text=0;Data=0;Bss=0"}},
      {"qSymbol::", {"OK"}},
      {"qUnknown", {""}},
      {"vCont?", {""}},
      {"vMustReplyEmpty", {""}},
      {"qRcmd," + StringToHex("halt"), {"OK"}},
      {"qRcmd," + StringToHex("flash breakpoints 1"), {StringToHex("Flash breakpoints enabled")}},
      {"D", {"OK", "E01"}},
  };
  for (const auto& [packet, texts] : answers)
    EXPECT_EQ(Ask(client, packet, texts.size()), texts) << packet;
  // R0 to R12, SP, LR and PC, until the client has read the description.
  const std::string general = Ask(client, "g").at(0);
  EXPECT_EQ(general.size(), 16u * 8);
  EXPECT_EQ(general.substr(13 * 8, 16), "00000120ffffffff");
  EXPECT_EQ(Ask(client, "qRcmd," + StringToHex("reset halt"), 4).at(3), "OK");
  EXPECT_EQ(Ask(client, "qXfer:features:read:target.xml:ffff,10").at(0), "l");
  EXPECT_THAT(Ask(client, "qXfer:features:read:target.xml:0,1000").at(0), StartsWith("m<?xml"));
  // These have no answer; two bring the next one down in the same read.
  client.SendBytes("-+" + Frame("C02") + Frame("vCont;s") + Frame("M0,1:0") + Frame("mzz,1") +
                   Frame("p123456789") + Frame("Z0,1") + Frame("?") + "$m0");
  EXPECT_EQ(Receive(client, 1).at(0), "S05");
  for (const char* torn : {"$X0,820:\x01", "+$X20000000,4:\x01"}) {
    client.SendBytes(torn);
    EXPECT_EQ(Receive(client, 1).at(0), "OK") << torn;
  }
  // By the description only for who says that it goes by it.
  EXPECT_EQ(Ask(client, "g").at(0).size(), 16u * 8);
  Ask(client, "qSupported:swbreak+;xmlRegisters=i386");
  Ask(client, "qXfer:features:read:target.xml:0,4000");
  EXPECT_EQ(Ask(client, "g").at(0).size(), 56u * 8);
  EXPECT_EQ(Ask(client, "vKill;1").at(0), "OK");
  const ProcessResult run = session.orvo.Wait(kRunLimit);
  EXPECT_EQ(run.exit_status, 0);
  EXPECT_THAT(run.err, HasSubstr("ZANDOR GDB SERVER ERROR: unsupported messages: M0,1:0\n"));
  EXPECT_THAT(run.err, HasSubstr("malformed message: mzz,1: Not a hexadecimal number: 'zz'"));
}

TEST(GdbProtocol, InterruptsStopTheFirmwareAtAnyMomentAndChangeNothing) {
  const std::vector<std::string> trace = {"-t", "interrupts", "--trace-dest", "trace.txt"};
  OrvoBench free;
  const std::string free_out = free.RunFirmware("kernel_run.bin", trace).out;
  GdbSession session("kernel_run", trace);
  ControlClient client = session.Client();
  const std::vector<std::string> both(2, kStopped);
  for (int i = 0; i < 100; ++i) {
    // In one read too, as a slow reader finds them: the firmware has not gone on then.
    client.SendBytes(Frame("c") + (i % 4 == 0 ? "\x03" : ""));
    if (i % 4 != 0) client.SendBytes("\x03");
    ASSERT_EQ(Receive(client, 2), both) << i;
    ASSERT_EQ(Ask(client, "s").at(0), "T05hwbreak:;thread:0000dead;") << i;
  }
  client.SendBytes(Frame("c"));
  const ProcessResult run = session.orvo.Wait(kRunLimit);
  EXPECT_EQ(run.out, free_out);
  EXPECT_EQ(session.bench.InstructionCount(), free.InstructionCount());
  EXPECT_EQ(session.bench.directory().Read("trace.txt"), free.directory().Read("trace.txt"));
}

// Also out of a wfe that would wait for ever, which a reset by the debugger ends.
TEST(GdbProtocol, ResetsOutOfASleepAndIsEndedBySignalsInEveryState) {
  for (const int number : {SIGINT, SIGTERM}) {
    for (const char* state : {"stopped", "running", "sleeping"}) {
      GdbSession session(state == std::string("sleeping") ? "wait_for_event" : "debugging_endless");
      ControlClient client = session.Client();
      if (state != std::string("stopped")) {
        client.SendBytes(Frame("c"));
        if (session.image == "wait_for_event") {
          ASSERT_TRUE(session.orvo.WaitForOutput("waiting\n", kRunLimit));
          client.SendBytes("\x03");
          Receive(client, 2);
          Ask(client, "qRcmd," + StringToHex("reset halt"), 4);
          const std::string vector = Ask(client, "m4,4").at(0);
          EXPECT_EQ(HexToInt(Ask(client, "pb").at(0)) | 0x01000000, HexToInt(vector)) << "pc";
          Ask(client, "s");
          client.SendBytes(Frame("c"));
        }
      }
      session.orvo.Signal(number);
      const ProcessResult run = session.orvo.Wait(kRunLimit);
      EXPECT_FALSE(run.timed_out) << state;
      EXPECT_EQ(run.exit_status, 0) << state << run.err;
    }
  }
}

// A stream of packets, pieces of packets and noise, in reads of any length. What would end the run
// by itself is left out.
std::string Noise(std::mt19937& random) {
  static const std::vector<std::string> pieces = Split(
      "$ # #0 \x03 + - } * , : ; 0 ffffffff $c#63 $s#73 $g#67 $?#3f $m0,40#00 $m,#00 $m0,3000#00 "
      "$m20000000,ffffffffff#00 $p#00 $pb#00 $P#00 $Z0,#00 $Z0,100,2#00 $Z,,#00 $z0,100,2#00 $z#00 "
      "$q#00 $qXfer:features:read:target.xml:#00 $qXfer:features:read:target.xml:0,ffff#00 "
      "$qXfer:features:read:target.xml:ffffffff,ffffffff#00 $qRcmd#00 $qRcmd,7#00 $qRcmd,zz#00 "
      "$X#00 $X1270,8: $Xzz,zz:}#00 $C#00 $C9#00 $#00 $vCont;#00 $qSupported:#00 $\x80\xff\x01#00 "
      "$M0,1:0#00 $G#00 $e,,,#00 $D#00",
      ' ');
  const unsigned kind = random() % 20;
  if (kind == 0) return std::string(random() % 40'000, '$' + static_cast<char>(random() % 3));
  if (kind == 1) {
    std::string bytes(random() % 60, '\0');
    for (char& c : bytes) c = static_cast<char>(random() % 256);
    for (char& c : bytes) c = std::string("$kvZz").find(c) == std::string::npos ? c : '%';
    return bytes;
  }
  return pieces[random() % pieces.size()];
}

TEST(GdbProtocol, NoInputStopsTheServerFromAnswering) {
  for (unsigned seed = 1; seed <= 12; ++seed) {
    GdbSession session("debugging_endless");
    ControlClient client = session.Client();
    ASSERT_TRUE(client.connected());
    std::mt19937 random(seed);
    // Its answers are read all the time, as the server waits for a client that doesn't.
    std::atomic<bool> alive{false};
    std::thread reader([&] {
      const std::string answer = "+$" + StringToHex("Flash breakpoints enabled");
      std::string tail;
      for (std::string some; !alive && !(some = client.ReceiveSome()).empty();) {
        tail += some;
        alive = tail.find(answer) != std::string::npos;
        tail.erase(0, tail.size() - std::min(tail.size(), answer.size()));
      }
    });
    // So are its complaints.
    std::thread listener([&] { session.orvo.WaitForOutput("what it never says", kRunLimit); });
    for (int i = 0; i < 400; ++i) client.SendBytes(Noise(random));
    for (int i = 0; i < 1200 && !alive; ++i) {
      client.SendBytes("\x03");
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
      client.SendBytes(Frame("qRcmd," + StringToHex("flash breakpoints 1")));
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    EXPECT_TRUE(alive) << "seed " << seed;
    client.EndSending();
    listener.join();
    reader.join();
    const ProcessResult run = session.orvo.Wait(kRunLimit);
    EXPECT_EQ(run.exit_status, 0) << "seed " << seed;
    EXPECT_EQ(run.signal, 0) << "seed " << seed;
    EXPECT_FALSE(run.timed_out) << "seed " << seed;
  }
}

}  // namespace
}  // namespace orvo
