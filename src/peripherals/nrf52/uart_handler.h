// nRF52 UART and UARTE in one section; ENABLE chooses between the FIFO and EasyDMA.
// Source: nRF52832 Product Specification, UART and UARTE.
// Transmission takes no virtual time. Received bytes arrive at the speed of the line, which
// UartHandlerBase keeps. A UARTE buffer has at most 255 bytes.
// Not modelled: parity, flow control, line errors, SHORTS, and the tasks FLUSHRX and SUSPEND.
#pragma once

#include <array>
#include <atomic>
#include <mutex>
#include <string>

#include "peripherals/nrf52/nrf52_handler.h"
#include "peripherals/nrf52/registers/nrf52_uarte.h"
#include "time/tick_listener.h"
#include "wires/uart_handler_base.h"

namespace orvo {

class UartHandler : public Nrf52Handler<Nrf52UARTE>, public TickListener {
 public:
  // Every instance takes the interrupt "UARTE0_UART0".
  UartHandler(Mcu* mcu, std::string name, unsigned start, unsigned size_bytes,
              const InterruptMap& interrupts, const nlohmann::json& configuration);
  ~UartHandler() override;

  void set_TASKS_STARTRX(unsigned offset, unsigned value) override;
  void set_TASKS_STOPRX(unsigned offset, unsigned value) override;
  void set_TASKS_STARTTX(unsigned offset, unsigned value) override;
  void set_TASKS_STOPTX(unsigned offset, unsigned value) override;
  void set_EVENTS_RXDRDY(unsigned offset, unsigned value) override;
  void set_EVENTS_ENDRX(unsigned offset, unsigned value) override;
  void set_EVENTS_RXTO(unsigned offset, unsigned value) override;
  void set_EVENTS_RXSTARTED(unsigned offset, unsigned value) override;
  void set_INTEN(unsigned offset, unsigned value) override;
  void set_INTENSET(unsigned offset, unsigned value) override;
  void set_PSEL_TXD(unsigned offset, unsigned value) override;
  void set_PSEL_RXD(unsigned offset, unsigned value) override;
  unsigned get_RXD(unsigned offset) override;
  void set_TXD(unsigned offset, unsigned value) override;
  void set_BAUDRATE(unsigned offset, unsigned value) override;

  // Raises the interrupt of TXDRDY or ENDRX.
  unsigned long OnTick(unsigned long tick) override;
  // Commands of the control connection go to the UART's input.
  void DoCommand(const nlohmann::json& command) override;
  void Reset(ResetType type) override;

 private:
  enum class Mode { kDisabled = 0, kUart = 4, kUarte = 8 };

  // One event of its own on the main clock, at most once at a time.
  class UartInnerClass : public TickListener {
   public:
    explicit UartInnerClass(UartHandler& uart) : uart_(uart) {}
    // Unless armed already.
    void Arm(unsigned long tick);
    void Disarm();

   protected:
    UartHandler& uart_;
    bool armed_ = false;
  };
  struct RxtoEvent : UartInnerClass {
    using UartInnerClass::UartInnerClass;
    unsigned long OnTick(unsigned long tick) override;
  };
  struct RxdrdyEvent : UartInnerClass {
    using UartInnerClass::UartInnerClass;
    unsigned long OnTick(unsigned long tick) override;
  };
  struct RxStartedEvent : UartInnerClass {
    using UartInnerClass::UartInnerClass;
    unsigned long OnTick(unsigned long tick) override;
  };
  struct RecvCallback : UartInnerClass {
    using UartInnerClass::UartInnerClass;
    unsigned long OnTick(unsigned long tick) override;
  };

  // The RXD FIFO.
  class RxdRing {
   public:
    static constexpr unsigned kSize = 6;
    bool empty() const { return count_ == 0; }
    bool full() const { return count_ == kSize; }
    void Push(unsigned char byte);
    unsigned char Pop();

   private:
    std::array<unsigned char, kSize> bytes_{};
    unsigned head_ = 0;
    unsigned count_ = 0;
  };

  // Throws OrvoError for a value of ENABLE that the block doesn't have.
  Mode GetUarteMode();
  // Bits per second; 0 for a value of BAUDRATE that the table doesn't have.
  unsigned GetUartBaudrate();
  unsigned long GetTicksPerBit();
  unsigned long GetTicksPerByte();

  // Returns whether TXDRDY wants an interrupt.
  bool SendFromRam(unsigned address, unsigned count);
  void DetachFromClock();
  // Raises it at the next service of the clock.
  void RaiseInterruptAtNextTick();

  // The line has brought a byte. Called by the UART's base.
  void ByteReceived();
  // Takes what has arrived, by mode: into RAM, or into the FIFO. With `force` RXDRDY follows even
  // if the FIFO held bytes before.
  void MoveDataFromUartBaseBuffer(bool force);
  void MoveDataIfExistToRAM();
  void MoveDataToRXDBufferAndRaiseEvent(bool raise);
  void RegisterRxdrdyEvent();

  unsigned rx_amount_ = 0;  // bytes moved into RAM since TASKS_STARTRX
  std::atomic<bool> rx_active_{false};
  RxdRing rxd_ring_;
  std::mutex rx_lock_;  // guards the arming of recv_callback_ and the reception in it
  bool interrupt_armed_ = false;
  RxtoEvent rxto_event_{*this};
  RxdrdyEvent rxdrdy_event_{*this};
  RxStartedEvent rx_started_event_{*this};
  RecvCallback recv_callback_{*this};
  UartHandlerBase uart_;
};

}  // namespace orvo
