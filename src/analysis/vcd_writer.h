// The waveforms of a run, --vcd: the levels of all named wires over virtual time, as a value change
// dump. Source: IEEE Std 1364-2001, 18, "Value change dump (VCD) files".
// A variable for each pin: "P0_11", one of the chip, and "button.in", one of a device. Pins that
// share a wire are written one by one, since not all readers know two names of one variable. In the
// end only pins that changed are declared, if any did. Data of UART, SPI and I2C travels as whole
// packets and has no waveform.
#pragma once

#include <fstream>
#include <string>
#include <vector>

#include "memory/observer.h"
#include "wires/wire_types.h"

namespace orvo {

class Clock;
class Mcu;
class WireManager;

class VcdWriter : public Observer<WireLogicLevelEvent> {
 public:
  // Begins the file with the wires' present levels, and follows them from then on. The chip and its
  // wires outlive this. Throws UserError if the file can't be opened.
  VcdWriter(const std::string& path, Mcu& mcu);
  VcdWriter(const VcdWriter&) = delete;
  VcdWriter& operator=(const VcdWriter&) = delete;
  // Completes the file: the time of the end, and the names of the pins that changed. Warns if the
  // file didn't take all.
  ~VcdWriter() override;

  void Update(std::vector<WireLogicLevelEvent>* events) override;

 private:
  struct Pin {
    std::string name;
    std::string code;  // the short name of the variable
    unsigned wire;
  };
  struct Wire {
    std::vector<std::string> codes;  // of its pins
    bool changed = false;
    bool first_level = false;
    bool level = false;
  };

  void AddPin(const std::string& name, unsigned wire);
  std::string Header(bool only_changed) const;
  // Nanoseconds, truncated. After a change of the clock's frequency the new one counts from the
  // next call on.
  unsigned long VirtualTimeNs();
  // Writes the time unless it has been written.
  void StampTime();

  std::string path_;
  WireManager& wires_;
  Clock& clock_;
  std::ofstream file_;
  std::vector<Pin> pins_;
  std::vector<Wire> wire_;  // by number
  size_t header_length_ = 0;
  bool any_changed_ = false;

  unsigned long stamped_ns_ = 0;
  unsigned long origin_tick_ = 0;
  unsigned long origin_ns_ = 0;
  unsigned long frequency_hz_ = 0;
};

}  // namespace orvo
