// The control connection of a run: its port, and firmware that talks with a client through it.
#include <gmock/gmock.h>

#include "support/control_session.h"

namespace orvo {
namespace {

using testing::HasSubstr;

TEST(ControlConnection, ClientLearnsTheCodeOfFirmwareThatExitsAndResumesIt) {
  OrvoBench bench;
  ChildProcess process =
      bench.Start({"-i", FirmwarePath("sudo.bin"), "-u", "-w", "-p", kFirmwareDone, "-k", "1"});
  ControlClient client(WaitForPort(bench));
  ASSERT_TRUE(client.connected());
  client.Send({{"type", "handshake"}, {"api_version", "1"}});
  EXPECT_EQ(client.Receive()["response"], "ok");

  // The handshake leaves the chip paused.
  ASSERT_FALSE(WaitForMessage(client, "stopped").is_null());
  Resume(client);
  const nlohmann::json byte = WaitForMessage(client, "uart_event");
  EXPECT_EQ(byte["value"], 'b');
  const nlohmann::json exit = WaitForMessage(client, "sudo_exit");
  ASSERT_FALSE(exit.is_null());
  EXPECT_EQ(exit["type"], "event");
  EXPECT_EQ(exit["value"], 42);

  Resume(client);
  const ProcessResult run = process.Wait(kRunLimit);
  EXPECT_FALSE(run.timed_out);
  EXPECT_EQ(run.exit_status, 0) << run.err;
  EXPECT_EQ(run.out, "before\nafter\n");
}

TEST(ControlConnection, PortThatIsTakenIsReported) {
  OrvoBench first, second;
  ChildProcess running = first.Start({"-i", FirmwarePath("wait_running.bin")});
  const std::string port = std::to_string(WaitForPort(first));
  const ProcessResult run = second.RunFirmware("clocks.bin", {"--sdk-port", port});
  EXPECT_EQ(run.exit_status, 255);
  EXPECT_THAT(run.err, HasSubstr("Could not bind socket"));
}

TEST(ControlConnection, PortFileThatCannotBeWrittenIsReported) {
  OrvoBench bench;
  bench.directory().Write(".zandor", "a file where the directory should be");
  const ProcessResult run = bench.RunFirmware("clocks.bin");
  EXPECT_EQ(run.exit_status, 255);
  EXPECT_THAT(run.err, HasSubstr("ConnectionManager could not open port file"));
}

}  // namespace
}  // namespace orvo
