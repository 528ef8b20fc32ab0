// An I2C master for device models: whole writes and reads from and to buffers, one at a time.
#pragma once

#include <functional>
#include <vector>

#include "wires/i2c_master_logic_level.h"

namespace orvo {

class Mcu;

class I2cMasterHighLevel {
 public:
  using ReadFinished = std::function<void(const std::vector<unsigned char>& data)>;
  using WriteFinished = std::function<void()>;

  I2cMasterHighLevel(Mcu* mcu, WireManager& wires);

  // Called on the simulation thread at the end of a transfer: of a write after its stop, of a read
  // before it, so that only the first may start another. A write that a read follows has none.
  void ReadFinishedCallback(ReadFinished callback) { read_finished_ = std::move(callback); }
  void WriteFinishedCallback(WriteFinished callback) { write_finished_ = std::move(callback); }

  // Start a transfer, which the main clock then carries on. The address has 7 bits. Throw UserError
  // while another transfer is under way, without a frequency, and for a transfer of no bytes.
  // Bytes that nobody acknowledges are sent all the same.
  void Write(unsigned char address, unsigned sda_wire, std::vector<unsigned char> data);
  void Read(unsigned char address, unsigned sda_wire, unsigned count);
  // A repeated start joins both. Only the end of the read is told.
  void WriteRead(unsigned char address, unsigned sda_wire, std::vector<unsigned char> data,
                 unsigned count);

  void SetI2cFrequency(unsigned frequency_hz) { frequency_hz_ = frequency_hz; }
  // Ticks of the main clock. Throws UserError without a frequency, and for one above the clock's.
  unsigned GetTicksPerBit() const;

 private:
  void RegisterI2cMasterCallbacks();
  void CheckCanStart(unsigned bytes) const;
  bool EndOfWrite(unsigned bytes_sent);
  void StopRX();

  Mcu* mcu_;
  I2cMasterLogiclevel master_;
  unsigned bytes_to_read_ = 0;
  std::vector<unsigned char> buffer_;
  unsigned frequency_hz_ = 0;
  bool write_read_ = false;
  unsigned char address_ = 0;
  unsigned sda_wire_ = WireManager::kVdd;
  ReadFinished read_finished_;
  WriteFinished write_finished_;
};

}  // namespace orvo
