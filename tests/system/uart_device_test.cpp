// Firmware and the model of a device, each on a thread of its own, over a serial line with flow
// control. In this process: what would make such a model for the executable is a plug-in.
#include "wires/uart_device.h"

#include <gmock/gmock.h>

#include <thread>

#include "build_paths.h"
#include "config/configuration_file_handler.h"
#include "config/scenario_file_handler.h"
#include "mcu/platform.h"
#include "runner/args_manager.h"
#include "runner/program.h"
#include "support/orvo_process.h"
#include "unit/config/working_directory.h"

namespace orvo {
namespace {

TEST(UARTDevice, TalksWithFirmwareThatObeysAndDrivesCtsAndRts) {
  const WorkingDirectory directory;
  ScenarioFileHandler scenario;
  WireManager wires(nullptr, WireManager::kWiresOfBoard, false, false);
  ConfigurationFileHandler::Get().Init("nrf52832", nullptr, kOrvoExecutable);
  ArgsManager& args = ArgsManager::Get();
  args.pc_pos = std::stoul(kFirmwareDone);
  args.times = 1;
  const std::unique_ptr<Mcu> mcu = CreateMcu("nrf52832", scenario, &wires, nullptr);
  // The chip's pins: CTS 5, TX 6, RTS 7, RX 8.
  const UartConfig config{1'000'000, 8, 1, 6, 8, 7, 5, true, true};
  UARTDevice device(wires, config, &mcu->clock());
  EXPECT_EQ(device.Write("too early", 9), 0u);
  Program program(*mcu, "orvo", FirmwarePath("uart_flow.bin"));

  std::thread model([&] {
    std::string sent = "0123456789abcdef", received(sent.size(), '\0');
    for (int round = 0; round < 10; ++round) {
      while (device.Write(sent.data(), sent.size()) == 0) {
      }
      ASSERT_EQ(device.Read(received.data(), received.size()), received.size());
      for (char& c : sent) ++c;
      ASSERT_EQ(received, sent);
    }
    EXPECT_EQ(device.Read(received.data(), 1), 0u);
  });
  program.Run();
  device.CancelRead();
  model.join();
  EXPECT_FALSE(wires.GetWireLevel(config.rts_wire));
}

}  // namespace
}  // namespace orvo
