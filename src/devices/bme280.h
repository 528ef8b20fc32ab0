// BME280 environment sensor on I2C, address 0x76. Source: Bosch BME280 data sheet, "Memory map" and
// "Compensation formulas".
// The scenario's fields are "temperature" in degrees Celsius and "humidity" in 1/1024 %, the unit
// of the compensation's result. The model runs the temperature's compensation backwards to the raw
// reading, so that firmware's driver comes to what the scenario asked for, to 0.01 degrees. The
// humidity's is approximate, without the influence of the temperature.
// Not modelled: SPI, the IIR filter, oversampling but for being on or off, and the time that a
// measurement takes. Pressure is a constant.
#pragma once

#include <array>
#include <set>
#include <string>

#include "devices/memory_peripheral.h"
#include "time/tick_listener.h"
#include "wires/i2c_slave_base.h"

namespace orvo {

class BME280 : public MemoryPeripheral, public TickListener {
 public:
  // The pin is "sda".
  BME280(Mcu* mcu, WireManager& wires, const JsonPlace& component);
  ~BME280() override;

  // As if over the bus, but nothing is set off. Throw OrvoError for an address above 255.
  void SetRegister(unsigned address, unsigned value) override;
  unsigned GetRegister(unsigned address) override;
  // 0 sleep, 1 forced, 3 normal.
  unsigned GetPowerMode() const;
  // Deliberate: only adds bits to the mode.
  void SetPowerMode(unsigned mode);

  // A measurement.
  unsigned long OnTick(unsigned long tick) override;

 private:
  // The calibration of the temperature, data sheet names dig_T1 to dig_T3.
  struct TemperatureCalibration {
    long t1, t2, t3;
  };

  void Reset();
  bool OnMasterWrite(unsigned char byte);
  bool OnMasterRead(unsigned char* byte);
  void OnMasterStop() { address_phase_done_ = false; }
  void WriteRegister(unsigned char byte);
  unsigned long StandbyTicks() const;
  TemperatureCalibration Calibration() const;
  // The raw reading of 20 bits.
  long getTemperature(double celsius) const;
  static long getHumidity(double humidity);
  // The generator of a field; null, and a warning the first time, if the board names none.
  DataGenerator* GeneratorOf(const std::string& field);

  I2cSlaveBase slave_;
  std::array<unsigned char, 256> registers_{};
  unsigned char register_pointer_ = 0;
  bool address_phase_done_ = false;
  unsigned char selected_register_ = 0;
  bool attached_ = false;
  std::set<std::string> fields_warned_of_;
};

}  // namespace orvo
