// nRF52 SPI, SPIM, TWI, TWIM and TWIS in one section; ENABLE chooses.
// Source: nRF52832 Product Specification, SPI, SPIM, TWI, TWIM and TWIS.
// A transfer of SPI and SPIM takes no time; TWI and TWIM run at the speed of their bus. Pins are
// wires of the same number, except for TWIS, which looks its pin up in the board.
// Not modelled: SPIS; EasyDMA lists; EVENTS_STARTED and the short END_START of SPIM; ACQUIRE and
// RELEASE.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

#include "peripherals/nrf52/nrf52_handler.h"
#include "peripherals/nrf52/registers/nrf52_spim_twim.h"
#include "time/tick_listener.h"
#include "wires/i2c_master_logic_level.h"
#include "wires/i2c_slave_base.h"
#include "wires/spi_master.h"

namespace orvo {

class SpimTwimHandler : public Nrf52Handler<Nrf52SPIM_TWIM>, public TickListener {
 public:
  // "twiEnable": false in the configuration makes a block without TWI and TWIM.
  SpimTwimHandler(Mcu* mcu, std::string name, unsigned start, unsigned size_bytes,
                  const InterruptMap& interrupts, const nlohmann::json& configuration);
  ~SpimTwimHandler() override;

  void set_ENABLE(unsigned offset, unsigned value) override;
  void set_INTEN(unsigned offset, unsigned value) override;
  void set_INTENSET(unsigned offset, unsigned value) override;
  void set_TASKS_STOP(unsigned offset, unsigned value) override;
  void set_EVENTS_READY(unsigned offset, unsigned value) override;
  void set_TXD(unsigned offset, unsigned value) override;
  // The byte of SPI is ready.
  unsigned long OnTick(unsigned long tick) override;
  void Reset(ResetType type) override;

  // --- SPI and SPIM
  void set_CONFIG(unsigned offset, unsigned value) override;
  void set_FREQUENCY(unsigned offset, unsigned value) override;
  void set_TASKS_START(unsigned offset, unsigned value) override;
  unsigned get_RXD(unsigned offset) override;

  // --- TWI and TWIM
  void set_TASKS_STARTTX(unsigned offset, unsigned value) override;
  void set_TASKS_STARTRX(unsigned offset, unsigned value) override;
  void set_TASKS_SUSPEND(unsigned offset, unsigned value) override;
  void set_TASKS_RESUME(unsigned offset, unsigned value) override;
  void set_EVENTS_BB(unsigned offset, unsigned value) override;
  void set_EVENTS_TXDSENT(unsigned offset, unsigned value) override;
  void set_EVENTS_LASTTX(unsigned offset, unsigned value) override;
  void set_EVENTS_LASTRX(unsigned offset, unsigned value) override;
  // Ones clear.
  void set_ERRORSRC(unsigned offset, unsigned value) override;

  // --- TWIS
  void set_PSEL_SDA(unsigned offset, unsigned value) override;
  void set_ADDRESS(unsigned offset, unsigned value) override;
  void set_ADDRESS1(unsigned offset, unsigned value) override;
  void set_CONFIG_TWIS(unsigned offset, unsigned value) override;
  void set_TASKS_PREPARERX(unsigned offset, unsigned value) override;
  void set_TASKS_PREPARETX(unsigned offset, unsigned value) override;

 private:
  enum class Mode { kNone = 0, kSpi = 1, kSpis = 2, kTwi = 5, kTwim = 6, kSpim = 7, kTwis = 9 };

  // The registers of one direction over RAM.
  struct Direction {
    unsigned pointer, max_count, amount;
    unsigned started, last;  // events
    unsigned request;        // event of TWIS
  };
  static const Direction kTransmit, kReceive;

  // --- SPI and SPIM
  void SetSpiPins();
  void ExchangeByte(unsigned char byte);
  unsigned long ReadyDelayTicks() const;

  // --- TWI and TWIM
  void RegisterI2cMasterCallbacks();
  bool IsTwiMaster() const { return state_.mode == Mode::kTwi || state_.mode == Mode::kTwim; }
  bool HasReachedTransferLength() const {
    return i2c_master_.GetByteIndex() >= state_.transfer_length;
  }
  // Throws OrvoError for a start without a pin.
  bool TakesStart(unsigned value);
  unsigned char Address() { return static_cast<unsigned char>(MemorySection::get(ADDRESS)); }
  unsigned SdaWire();
  // Of the main clock. Throws OrvoError for a FREQUENCY that TWI doesn't have.
  unsigned TicksPerBit();
  void OnStart(const Direction& direction, bool* pending);
  void OnBeforeByte();
  unsigned char NextByte(unsigned index);
  bool OnByteSent(unsigned index);
  bool OnByteReceived(unsigned index, unsigned char byte, unsigned amount);
  void OnAckOrNackSent(bool ack);
  void ReportError(bool address_of_write);
  void SendStop();
  void SuspendConnection();

  // --- TWIS
  void RegisterI2cSlaveCallbacks();
  void SwitchAddress(unsigned address, bool on);
  void OnStartSlave(const Direction& direction);
  bool OnMasterWrite(unsigned char address, unsigned char byte, unsigned index);
  bool OnMasterRead(unsigned char address, unsigned index, unsigned char* byte);
  void CheckMasterAccess(unsigned char address, unsigned pointer, const char* operation,
                         const char* pointer_name);
  void MatchAddress(unsigned address);

  // Where a transfer is, and how long: from the registers of its direction.
  void PrepareBuffer(const Direction& direction);

  // What a reset clears.
  struct State {
    Mode mode = Mode::kNone;
    bool stop_requested = false;     // a stop follows the byte in progress
    bool suspend_requested = false;  // likewise
    bool start_tx_pending = false;   // a start that waits for the end of the byte
    bool start_rx_pending = false;
    bool txd_provided = false;     // TWI: TXD holds the next byte
    unsigned transfer_length = 0;  // MAXCNT; TWI: bytes so far
    unsigned rx_ptr = 0;           // addresses in RAM
    unsigned tx_ptr = 0;
    int spi_bytes_in_flight = 0;       // SPI: bytes in the double buffer, up to 2
    unsigned char spi_pending_rx = 0;  // SPI: the byte behind RXD
    bool ready_armed = false;
  };

  const bool twi_enable_;
  State state_;
  SpiMaster spi_master_;
  I2cMasterLogiclevel i2c_master_;
  I2cSlaveBase i2c_slave_;
};

}  // namespace orvo
