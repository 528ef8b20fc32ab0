#include "devices/bme280.h"

#include <algorithm>
#include <cmath>
#include <iostream>

#include "config/data_generator.h"
#include "mcu/mcu.h"
#include "runner/errors.h"

namespace orvo {

namespace {

constexpr unsigned char kSlaveAddress = 0x76;

// Data sheet, "Memory map".
constexpr unsigned kCalibration00 = 0x88;  // to 0xA1
constexpr unsigned kChipId = 0xD0;
constexpr unsigned kResetRegister = 0xE0;
constexpr unsigned kCalibration26 = 0xE1;  // to 0xF0
constexpr unsigned kCtrlHum = 0xF2;
constexpr unsigned kCtrlMeas = 0xF4;
constexpr unsigned kConfig = 0xF5;
constexpr unsigned kPressure = 0xF7;     // 0xF7 to 0xF9
constexpr unsigned kTemperature = 0xFA;  // 0xFA to 0xFC
constexpr unsigned kHumidity = 0xFD;     // 0xFD, 0xFE

constexpr unsigned kHumidityOversamplingMask = 7;        // ctrl_hum
constexpr unsigned kModeMask = 3;                        // ctrl_meas
constexpr unsigned kTemperatureOversamplingMask = 0xE0;  // ctrl_meas
constexpr unsigned kStandbyMask = 0xE0;                  // config
constexpr unsigned kStandbyShift = 5;

constexpr unsigned kForced = 1;
constexpr unsigned kNormal = 3;

constexpr unsigned char kChipIdValue = 0x60;
constexpr unsigned char kResetCommand = 0xB6;
// The first byte of a quantity that wasn't measured, and the readings.
constexpr unsigned char kNotMeasured = 0x80;
constexpr long kTemperatureNotMeasured = 0x80000;
constexpr long kHumidityNotMeasured = 0x8000;
constexpr double kBeyondAllValues = 1e15;
// Added before hundredths are truncated, as 2.3 * 100 is a little less than 230.
constexpr double kHalfMillionth = 5e-7;

constexpr unsigned char kCalibration00Values[] = {
    0xD0, 0x6F, 0x0C, 0x69, 0x32, 0x00, 0xB4, 0x92, 0x61, 0xD6, 0xD0, 0x0B, 0xD6,
    0x1A, 0xE1, 0xFF, 0xF9, 0xFF, 0xAC, 0x26, 0x0A, 0xD8, 0xBD, 0x10, 0x00, 0x4B};
constexpr unsigned char kCalibration26Values[] = {0x74, 0x01, 0x00, 0x12, 0x08, 0x00, 0x1E, 0x97,
                                                  0x41, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
constexpr unsigned char kPressureValue[] = {0x50, 0xB1, 0x10};

// Deliberate: of a clock of 64 MHz, whatever the frequency is.
constexpr unsigned long kTicksPerMillisecond = 64'000;

// By the standby field of config. Deliberate: 62 stands for 62.5 milliseconds.
constexpr unsigned long kStandbyTicks[] = {kTicksPerMillisecond / 2,   kTicksPerMillisecond * 62,
                                           kTicksPerMillisecond * 125, kTicksPerMillisecond * 250,
                                           kTicksPerMillisecond * 500, kTicksPerMillisecond * 1000,
                                           kTicksPerMillisecond * 10,  kTicksPerMillisecond * 20};

}  // namespace

BME280::BME280(Mcu* mcu, WireManager& wires, const JsonPlace& component)
    : MemoryPeripheral(mcu, wires, component), slave_(mcu, wires, component) {
  Reset();
  slave_.AddAddress(kSlaveAddress);
  slave_.WriteCallback(
      [this](unsigned char, unsigned char byte, int) { return OnMasterWrite(byte); });
  slave_.ReadCallback(
      [this](unsigned char, int, unsigned char* byte) { return OnMasterRead(byte); });
  // Also after a repeated start, which no stop comes before: data sheet, "I2C write".
  slave_.StartWriteCallback([this] { address_phase_done_ = false; });
  slave_.StopWriteCallback([this] { OnMasterStop(); });
  slave_.StopReadCallback([this] { OnMasterStop(); });
}

BME280::~BME280() { mcu_->clock().DetachFromTick(this); }

void BME280::Reset() {
  mcu_->clock().DetachFromTick(this);
  attached_ = false;
  registers_.fill(0);
  register_pointer_ = 0;
  address_phase_done_ = false;
  selected_register_ = 0;
  std::copy(std::begin(kCalibration00Values), std::end(kCalibration00Values),
            &registers_[kCalibration00]);
  std::copy(std::begin(kCalibration26Values), std::end(kCalibration26Values),
            &registers_[kCalibration26]);
  registers_[kChipId] = kChipIdValue;
  registers_[kPressure] = kNotMeasured;
  registers_[kTemperature] = kNotMeasured;
  registers_[kHumidity] = kNotMeasured;
}

void BME280::SetRegister(unsigned address, unsigned value) {
  if (address >= registers_.size()) {
    throw OrvoError("Register address: " + std::to_string(address) +
                    " out of range at BME280::SetRegister");
  }
  registers_[address] = static_cast<unsigned char>(value);
}

unsigned BME280::GetRegister(unsigned address) {
  if (address >= registers_.size()) {
    throw OrvoError("Register address: " + std::to_string(address) +
                    " out of range at BME280::GetRegister");
  }
  return registers_[address];
}

unsigned BME280::GetPowerMode() const {
  const unsigned mode = registers_[kCtrlMeas] & kModeMask;
  return mode == 0 || mode == kNormal ? mode : kForced;
}

void BME280::SetPowerMode(unsigned mode) {
  registers_[kCtrlMeas] |= static_cast<unsigned char>(mode & kModeMask);
}

bool BME280::OnMasterWrite(unsigned char byte) {
  if (!address_phase_done_) {
    register_pointer_ = byte;
    selected_register_ = byte;
    address_phase_done_ = true;
  } else if (selected_register_ == kResetRegister && byte == kResetCommand) {
    Reset();
  } else {
    WriteRegister(byte);
  }
  return true;
}

// Deliberate: the pointer moves on with each byte, and even a forced measurement waits for the
// standby time. A measurement that is already under way stays as it is.
void BME280::WriteRegister(unsigned char byte) {
  registers_[register_pointer_] = byte;
  if (register_pointer_ == kCtrlMeas && (byte & kModeMask) != 0 && !attached_) {
    mcu_->clock().AttachToTick(mcu_->clock().ticks() + StandbyTicks(), this, false);
    attached_ = true;
  }
  ++register_pointer_;
}

bool BME280::OnMasterRead(unsigned char* byte) {
  *byte = registers_[register_pointer_++];
  return true;
}

unsigned long BME280::StandbyTicks() const {
  return kStandbyTicks[(registers_[kConfig] & kStandbyMask) >> kStandbyShift];
}

unsigned long BME280::OnTick(unsigned long tick) {
  if ((registers_[kCtrlMeas] & kTemperatureOversamplingMask) != 0) {
    if (DataGenerator* generator = GeneratorOf("temperature")) {
      const long t = getTemperature(generator->GetNextDouble());
      registers_[kTemperature] = static_cast<unsigned char>(t >> 12);
      registers_[kTemperature + 1] = static_cast<unsigned char>(t >> 4);
      registers_[kTemperature + 2] = static_cast<unsigned char>(t * 16);
    }
  }
  if ((registers_[kCtrlHum] & kHumidityOversamplingMask) != 0) {
    if (DataGenerator* generator = GeneratorOf("humidity")) {
      const long h = getHumidity(generator->GetNextDouble());
      registers_[kHumidity] = static_cast<unsigned char>(h >> 8);
      registers_[kHumidity + 1] = static_cast<unsigned char>(h);
    }
  }
  std::copy(std::begin(kPressureValue), std::end(kPressureValue), &registers_[kPressure]);
  if (GetPowerMode() == kNormal) return tick + StandbyTicks();
  attached_ = false;
  registers_[kCtrlMeas] &= static_cast<unsigned char>(~kModeMask);
  return 0;
}

DataGenerator* BME280::GeneratorOf(const std::string& field) {
  DataGenerator* generator = GetDataGenerator(field);
  if (generator == nullptr && fields_warned_of_.insert(field).second) {
    std::cerr << "Warning: BME280 measures " << field
              << ", but the board names no data generator for it\n";
  }
  return generator;
}

BME280::TemperatureCalibration BME280::Calibration() const {
  const auto word = [this](unsigned address) {
    return static_cast<unsigned short>(registers_[address] | registers_[address + 1] << 8);
  };
  return {word(kCalibration00), static_cast<short>(word(kCalibration00 + 2)),
          static_cast<short>(word(kCalibration00 + 4))};
}

// Data sheet, "Compensation formulas", BME280_compensate_T_int32, solved for adc_T: a quadratic
// equation in the raw reading. A temperature beyond what it can express reads as not measured.
// Deliberate: hundredths of a degree are cut to 16 bits, and the reading of a positive temperature
// gets 8 more.
long BME280::getTemperature(double celsius) const {
  if (!(std::abs(celsius) < kBeyondAllValues)) return kTemperatureNotMeasured;
  const auto [t1, t2, t3] = Calibration();
  const double hundredths = celsius * 100 + std::copysign(kHalfMillionth, celsius);
  const long t = static_cast<short>(static_cast<long>(hundredths));
  const long b = ((5 * t2 << 20) - 160 * t1 * t3) / 256;
  const long c = (0x200000000 - (t << 34) - (5 * t1 << 16) * t2 + 5 * t1 * t1 * t3) / 256;
  const long d = b * b - c * 20 * t3;
  const long double raw =
      (-256.0L * static_cast<long double>(b) + 256.0L * std::sqrt(static_cast<double>(d))) /
      (10.0L * static_cast<long double>(t3));
  if (!std::isfinite(raw)) return kTemperatureNotMeasured;
  return static_cast<long>(raw) + (t > 0 ? 8 : 0);
}

long BME280::getHumidity(double humidity) {
  if (!(std::abs(humidity) < kBeyondAllValues)) return kHumidityNotMeasured;
  return static_cast<long>((humidity * 2739.38 + 310362112.0) * 6.103515625e-5);
}

}  // namespace orvo
