// The table of device classes.
#include "devices/peripheral_factory.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <string>

#include "devices/adg1404.h"
#include "devices/bme280.h"
#include "devices/echo_spi_slave.h"
#include "devices/i2c_master_peripheral_sdk.h"
#include "devices/i2c_slave_peripheral_sdk.h"
#include "devices/mock_i2c_device.h"
#include "devices/peripheral.h"
#include "devices/short.h"
#include "devices/simple_gpio_peripheral.h"
#include "mcu/mcu.h"

namespace orvo {

namespace {

constexpr char kSudo[] = "SUDO";

using Maker = Peripheral* (*)(const JsonPlace& component, Mcu* mcu, WireManager& wires);

Peripheral* GetSudoPeripheral(const JsonPlace&, Mcu* mcu, WireManager&) {
  return mcu->memory().GetSectionByName(kSudo);
}

template <class Device>
Peripheral* Make(const JsonPlace& component, Mcu* mcu, WireManager& wires) {
  return mcu->AddDevice(std::make_unique<Device>(mcu, wires, component));
}

// A class whose model isn't part of this build.
constexpr Maker kNotBuiltIn = nullptr;

struct DeviceClass {
  const char* name;
  Maker make;
};

// clang-format off
constexpr DeviceClass kDeviceClasses[] = {
    {"IS25LP128",      kNotBuiltIn},
    {kSudo,            GetSudoPeripheral},
    {"Button",         Make<Button>},
    {"I2cMasterSdk",   Make<I2cMasterPeripheralSdk>},
    {"I2cSlaveSdk",    Make<I2cSlavePeripheralSdk>},
    {"AnalogSensor",   Make<AnalogSensor>},
    {"Short",          Make<Short>},
    {"MockI2cDevice",  Make<MockI2CDevice>},
    {"ADG1404",        Make<ADG1404_internal>},
    {"BME280",         Make<BME280>},
    {"BMA280",         kNotBuiltIn},
    {"PCA9539A",       kNotBuiltIn},
    {"M24C04",         kNotBuiltIn},
    {"ExternalAD7798", kNotBuiltIn},
    {"BQ24160",        kNotBuiltIn},
    {"BQ27421",        kNotBuiltIn},
    {"MX25R6435F",     kNotBuiltIn},
    {"EchoSpiSlave",   Make<EchoSpiSlave>},
    {"ATWINC1500",     kNotBuiltIn},
    {"SDCard",         kNotBuiltIn},
};
// clang-format on

}  // namespace

Peripheral* MakePeripheral(const JsonPlace& component, Mcu* mcu, WireManager& wires,
                           ComponentKind kind) {
  const JsonPlace place = component["class"];
  const std::string& name = place.String();
  if (place.HasProblems()) return nullptr;
  if (kind == ComponentKind::kInternal) {
    if (mcu->memory().HasSection(name)) return mcu->memory().GetSectionByName(name);
    place.Report("Unsupported peripheral: " + name);
    return nullptr;
  }
  const auto* row = std::find_if(std::begin(kDeviceClasses), std::end(kDeviceClasses),
                                 [&name](const DeviceClass& entry) { return name == entry.name; });
  if (row == std::end(kDeviceClasses)) {
    place.Report("Unsupported peripheral: " + name);
    return nullptr;
  }
  if (row->make == kNotBuiltIn) {
    place.Report("Peripheral class " + name +
                 " is known, but no model of it is built into this version");
    return nullptr;
  }
  return row->make(component, mcu, wires);
}

}  // namespace orvo
