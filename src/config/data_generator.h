// A source of values for a sensor of the board. With "timing" in its config the value depends on
// virtual time alone, however often it is read; without, every read is a new step.
#pragma once

#include <string>

#include "config/json_place.h"
#include "devices/i_data_generator.h"

namespace orvo {

class Mcu;

class DataGenerator : public iDataGeneratorV2 {
 public:
  // Reads the optional "timing" of the config. `kind` is the name with which errors are worded.
  DataGenerator(const JsonPlace& config, std::string kind);
  DataGenerator(const DataGenerator&) = delete;
  DataGenerator& operator=(const DataGenerator&) = delete;
  virtual ~DataGenerator() = default;

  // The value of the current step, which is also kept as text: integers in decimal, doubles
  // with "%f".
  int GetNextInt32() override;
  double GetNextDouble() override;
  short GetNextInt16() override;
  unsigned char GetNextUInt8() override;
  std::string GetNextString() override;

  // What was read last, empty before the first read; as a number it throws UserError then.
  std::string GetCachedValueStr() override { return cached_value_; }
  double GetCachedValue() override;

  // Length of one step in nanoseconds, 0 without timing.
  unsigned long GetIntervalNS() const { return interval_ns_; }
  // The current step. Without an interval every call is a step of its own.
  unsigned long GetCurrentCount();
  // The chip whose main clock gives the time.
  void SetMcu(Mcu* mcu) { mcu_ = mcu; }

 protected:
  // The value of a step. Here each throws OrvoError: a kind overrides what it supports.
  virtual int DoGetNextInt32(unsigned long step);
  virtual double DoGetNextDouble(unsigned long step);
  virtual short DoGetNextInt16(unsigned long step);
  virtual unsigned char DoGetNextUInt8(unsigned long step);
  virtual std::string DoGetNextString(unsigned long step);

  const std::string& kind() const { return kind_; }
  bool has_timing() const { return has_timing_; }
  // Ticks and hertz of the main clock; throws OrvoError before SetMcu.
  unsigned long TickCount() const;
  unsigned long FrequencyHz() const;
  // The config's member; without it, a mistake whose text is `missing`, the kind and `advice`.
  JsonPlace Required(const JsonPlace& config, const std::string& key, const std::string& missing,
                     const std::string& advice = ". Please check your scenario.json file") const;
  // The integer part, cut to the bits of T; throws UserError for what no 64 bits hold.
  template <class T>
  T Truncate(double value) const;

 private:
  Mcu& mcu() const;

  Mcu* mcu_ = nullptr;
  bool has_timing_ = false;
  unsigned long interval_ns_ = 0;
  unsigned long calls_ = 0;
  std::string cached_value_;
  std::string kind_;
};

// Reads a text that is a number as a whole, blanks around it allowed. Returns false otherwise.
bool ParseDouble(const std::string& text, double* value);

}  // namespace orvo
