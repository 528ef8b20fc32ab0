#include "devices/echo_spi_slave.h"

namespace orvo {

namespace {

constexpr unsigned kMaxFrequencyHz = 48'000'000;
constexpr unsigned kAllModes = 0xf;

}  // namespace

EchoSpiSlave::EchoSpiSlave(Mcu* mcu, WireManager& wires, const JsonPlace& component)
    : ExternalPeripheralLegacy(mcu, wires, component),
      slave_(wires, component, kMaxFrequencyHz, kAllModes, kMsbFirst) {
  slave_.SetWriteCallback([this](const auto& data) { return OnSpiMasterWrite(data); });
}

}  // namespace orvo
