// A slave's end of an I2C bus: follows the packets on SDA, answers for its addresses, and asks the
// device by callbacks. Bytes that it sends stand on the wire one tick before the master takes them.
#pragma once

#include <functional>
#include <initializer_list>
#include <map>
#include <string>
#include <vector>

#include "config/json_place.h"
#include "time/tick_listener.h"
#include "wires/wire_manager.h"

namespace orvo {

class Mcu;

enum class I2cSlaveState : unsigned {
  kIdle = 0,
  kStart = 1,               // waits for the address
  kReceive = 2,             // the master writes
  kTransmit = 3,            // a byte goes out at a tick
  kTransmitWaitForAck = 4,  // waits for the master's answer to it
  kWaitForStop = 5,         // the master has refused a byte
};

extern const std::map<I2cSlaveState, std::string> I2cSlaveStateMap;

class I2cSlaveBase : public Observer<WireDataEvent>, public TickListener {
 public:
  // The address (7 bits), how many bytes of this transfer went before, the byte to fill in. Returns
  // false if there is none: the run ends when the master takes it.
  using ReadFunction = std::function<bool(unsigned char address, int index, unsigned char* byte)>;
  // Returns whether to acknowledge.
  using WriteFunction = std::function<bool(unsigned char address, unsigned char byte, int index)>;
  using Notification = std::function<void()>;

  static constexpr unsigned char kAllAddressBits = 0x7f;

  // Not on the bus before SetSdaWire() and Enable().
  I2cSlaveBase(Mcu* mcu, WireManager& wires);
  // Enabled on the component's pin "sda".
  I2cSlaveBase(Mcu* mcu, WireManager& wires, const JsonPlace& component);
  I2cSlaveBase(const I2cSlaveBase&) = delete;
  I2cSlaveBase& operator=(const I2cSlaveBase&) = delete;
  ~I2cSlaveBase() override;

  void Enable();
  // Leaves the bus, as a change of the wire does; what was under way is forgotten.
  void Disable();
  void SetSdaWire(unsigned wire);
  void DisconnectSdaWire();

  // The slave answers if the bits of an entry's mask are equal. Without entries it hears nothing.
  void AddAddress(unsigned char address) { AddAddress(address, default_mask_); }
  void AddAddress(unsigned char address, unsigned char mask);
  void RemoveAddress(unsigned char address) { RemoveAddress(address, default_mask_); }
  void RemoveAddress(unsigned char address, unsigned char mask);
  void AddAddressIfNotExist(unsigned char address, unsigned char mask);
  void ClearAddresses() { addresses_.clear(); }

  // Each sets a callback. Without the first two, reads and writes are refused.
  void ReadCallback(ReadFunction callback) { read_ = std::move(callback); }
  void WriteCallback(WriteFunction callback) { write_ = std::move(callback); }
  void StopReadCallback(Notification callback) { stop_read_ = std::move(callback); }
  void StopWriteCallback(Notification callback) { stop_write_ = std::move(callback); }
  // The address of a write or read was acknowledged.
  void StartWriteCallback(Notification callback) { start_write_ = std::move(callback); }
  void StartReadCallback(Notification callback) { start_read_ = std::move(callback); }

  // Only while enabled.
  void SendDataOverWire(const unsigned char* data, unsigned long size);

  // Throws OrvoError for a packet that doesn't belong to the state of the transfer.
  void Update(std::vector<WireDataEvent>* events) override;
  // The byte of a read goes out.
  unsigned long OnTick(unsigned long tick) override;

 private:
  struct AddressEntry {
    unsigned char address;
    unsigned char mask;
    bool operator==(const AddressEntry&) const = default;
  };

  static bool OnReadNullFunc(unsigned char, int, unsigned char*) { return false; }
  static bool OnWriteNullFunc(unsigned char, unsigned char, int) { return false; }
  static void OnStopNullFunc() {}

  void Connect();
  void Disconnect();
  void Send(std::initializer_list<unsigned char> packet);
  void HandleStart(unsigned char address_byte);
  void HandleReceive(int kind, const WireDataEvent& event);
  void HandleTransmitAck(int kind);
  void HandleStop(int kind);
  void TransmitInBits(unsigned bits);

  ReadFunction read_ = OnReadNullFunc;
  WriteFunction write_ = OnWriteNullFunc;
  Notification stop_read_ = OnStopNullFunc;
  Notification stop_write_ = OnStopNullFunc;
  Notification start_write_;
  Notification start_read_;
  WireManager& wires_;
  Mcu* mcu_;
  I2cSlaveState state_ = I2cSlaveState::kIdle;
  unsigned ticks_per_bit_ = 0;
  unsigned sda_wire_ = WireManager::kVdd;
  int read_index_ = 0;
  int write_index_ = 0;
  std::vector<AddressEntry> addresses_;
  bool enabled_ = false;
  bool connected_ = false;
  unsigned char address_ = 0;
  unsigned char default_mask_ = kAllAddressBits;
};

}  // namespace orvo
