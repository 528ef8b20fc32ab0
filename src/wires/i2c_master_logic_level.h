// The state machine of an I2C master: paces the packets on the main clock, so that a transfer takes
// as long in virtual time as on a real bus. Whoever owns it gives and takes the bytes by callbacks.
//
// With T the ticks per bit: the address goes out 8 T after the start; each byte of a write, the
// first included, 9 T after what went before; a byte of a read comes 9 T after the address or the
// byte before it, and is answered 1 T later.
#pragma once

#include <functional>
#include <map>
#include <string>

#include "time/tick_listener.h"
#include "wires/i2c_master_wire_level.h"

namespace orvo {

class Mcu;

// What the next tick brings.
enum class I2cMasterState : unsigned {
  kIdle = 0,
  kStart = 1,  // never entered
  kTxStart = 2,
  kRxStart = 3,
  kTxWaitForAck = 4,
  kTxWaitForLastAck = 5,  // never entered
  kRxWaitForAck = 6,
  kRxWaitForData = 7,
  kRxSendAck = 8,
  kRxSendNack = 9,
  kWaitForAddressAck = 10,  // never entered
  kRxWaitForStop = 11,      // no tick comes: the owner has to call Stop()
  kTxSendData = 12,         // never entered
};

extern const std::map<I2cMasterState, std::string> I2cMasterStateMap;

class I2cMasterLogiclevel : public TickListener {
 public:
  I2cMasterLogiclevel(Mcu* mcu, WireManager& wires);
  I2cMasterLogiclevel(const I2cMasterLogiclevel&) = delete;
  I2cMasterLogiclevel& operator=(const I2cMasterLogiclevel&) = delete;

  unsigned long OnTick(unsigned long tick) override;
  ~I2cMasterLogiclevel() override;

  // Each sets a callback; none has to be set.
  // A byte wasn't acknowledged: true for the address of a write.
  void ErrorCallback(std::function<void(bool)> callback) { error_ = std::move(callback); }
  // The byte of the index; any exception when there is none yet: it is asked for again 8 T later.
  void GetNextByteCallback(std::function<unsigned char(unsigned)> callback) {
    next_byte_ = std::move(callback);
  }
  // The number of bytes sent. Returns true if it has called Stop() or started anew.
  void ByteSentCallback(std::function<bool(unsigned)> callback) {
    byte_sent_ = std::move(callback);
  }
  // A read has its address acknowledged, or an acknowledgement sent: a byte comes.
  void AfterAckOnRxCallback(std::function<void()> callback) {
    after_ack_on_rx_ = std::move(callback);
  }
  // After each byte sent unless suspended, and when a transfer is resumed.
  void SuspendedResumeCallback(std::function<void()> callback) {
    suspended_resume_ = std::move(callback);
  }
  // The byte's index, the byte, the next index. Returns whether to acknowledge. GetByteIndex() is
  // still the byte's own.
  void ByteReceivedCallback(std::function<bool(unsigned, unsigned char, unsigned)> callback) {
    byte_received_ = std::move(callback);
  }
  // StartRX(), StartTX() were called.
  void StartRXCallback(std::function<void()> callback) { rx_start_ = std::move(callback); }
  void StartTXCallback(std::function<void()> callback) { tx_start_ = std::move(callback); }
  // A byte received was answered: whether with an acknowledgement.
  void AckOrNackSentCallback(std::function<void(bool)> callback) {
    ack_or_nack_sent_ = std::move(callback);
  }

  // Start, also while a transfer is open, as a repeated start. The address has 7 bits. Throw
  // OrvoError for a bit time of 0 ticks, and if the wire is gnd.
  void StartTX(unsigned char address, unsigned sda_wire, unsigned ticks_per_bit);
  void StartRX(unsigned char address, unsigned sda_wire, unsigned ticks_per_bit);
  // The same without the callback.
  void Initialize(bool read, unsigned char address, unsigned sda_wire, unsigned ticks_per_bit);
  // Sends the stop at once.
  void Stop();
  // Takes effect at the next step of the transfer, and ends with Resume().
  void Suspend() { suspended_ = true; }
  void Resume();
  // Forgets the transfer without a word on the wire: a slave in it hears of the end at the next
  // start.
  void Reset();

  // Bytes sent or received since the start.
  unsigned GetByteIndex() const { return byte_index_; }
  bool IsIdle() const { return state_ == I2cMasterState::kIdle; }
  const std::string& StateName() const { return I2cMasterStateMap.at(state_); }

 private:
  void SendFrequencyAndStart(unsigned ticks_per_bit);
  void HandleAck(bool address_byte);
  bool SendNextPacket();
  void ReceivePacket();
  void SendAck();
  void SendNack();
  unsigned long InBits(unsigned bits) const;

  std::function<void(bool)> error_;
  std::function<unsigned char(unsigned)> next_byte_;
  std::function<bool(unsigned)> byte_sent_;
  std::function<void()> after_ack_on_rx_;
  std::function<void()> suspended_resume_;
  std::function<bool(unsigned, unsigned char, unsigned)> byte_received_;
  std::function<void()> rx_start_;
  std::function<void()> tx_start_;
  std::function<void(bool)> ack_or_nack_sent_;
  Mcu* mcu_;
  unsigned byte_index_ = 0;
  unsigned ticks_per_bit_ = 0;
  unsigned long next_tick_ = 0;  // 0 for none
  bool attached_ = false;
  bool suspended_ = false;
  bool ack_pending_skip_ = false;  // the ack of the last byte has been seen already
  I2cMasterWireLevel wire_;
  I2cMasterState state_ = I2cMasterState::kIdle;
  bool read_ = false;
  unsigned char address_ = 0;
  bool cut_off_ = false;              // by Reset(), in a transfer
  unsigned long slave_byte_due_ = 0;  // tick; of a read that was cut off
};

}  // namespace orvo
