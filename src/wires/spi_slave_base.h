// A slave's end of an SPI bus: takes what the master clocked, asks the device for its answer at
// once, and warns when the master's settings don't suit the device.
#pragma once

#include <functional>
#include <vector>

#include "config/json_place.h"
#include "wires/spi_packet.h"
#include "wires/spi_slave_interface.h"
#include "wires/wire_manager.h"

namespace orvo {

class SpiSlaveBase : public Observer<WireLogicLevelEvent>, public Observer<WireDataEvent> {
 public:
  // The master's bytes; returns the answer. What it lacks in length is filled with zeros.
  using WriteCallback =
      std::function<std::vector<unsigned char>(const std::vector<unsigned char>&)>;
  // Whether the slave is now selected.
  using SsCallback = std::function<void(bool)>;

  // Without SS wire the slave is always selected.
  SpiSlaveBase(WireManager& wires, SpiSlaveConfig config);
  // The component's pins "sclk", "mosi", "miso" and "ss", of which only the first must be there.
  SpiSlaveBase(WireManager& wires, const JsonPlace& component, unsigned max_frequency_hz,
               unsigned supported_modes, BitOrder bit_order);
  SpiSlaveBase(const SpiSlaveBase&) = delete;
  SpiSlaveBase& operator=(const SpiSlaveBase&) = delete;
  ~SpiSlaveBase() override;

  void SetWriteCallback(WriteCallback callback) { write_callback_ = std::move(callback); }
  void SetSsLogicLevelChangeCallback(SsCallback callback) { ss_callback_ = std::move(callback); }
  // Drops the answer that waits to go out.
  void ResetTxBuffer() { tx_buffer_.clear(); }
  // Moves it to `output`.
  void FlushResponseBuffer(std::vector<unsigned char>& output);
  bool IsSsActive() const { return ss_active_; }

  // A level of SS.
  void Update(std::vector<WireLogicLevelEvent>* events) override;
  // A packet on SCLK; throws OrvoError for anything else there.
  void Update(std::vector<WireDataEvent>* events) override;

 private:
  static std::vector<unsigned char> OnWriteNullFunc(const std::vector<unsigned char>& data);
  void Transfer();
  void WarnOfSettings() const;

  WireManager& wires_;
  const SpiSlaveConfig config_;
  bool ss_active_;
  // A master that hasn't told a setting doesn't suit.
  bool frequency_ok_ = false;
  bool mode_ok_ = false;
  bool bit_order_ok_ = false;
  std::vector<unsigned char> tx_buffer_;
  std::vector<unsigned char> rx_buffer_;
  WriteCallback write_callback_ = OnWriteNullFunc;
  SsCallback ss_callback_;
};

}  // namespace orvo
