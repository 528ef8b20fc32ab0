// The private peripherals of the Cortex-M4 that have behaviour: SysTick, NVIC, system control block
// and the cycle counter of the DWT (ARMv7-M ARM, B3.2 to B3.4, C1.8). One section for all of them.
// Not modelled: NVIC_IABR, the software trigger register, DWT comparators, MPU.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

#include "time/clock.h"
#include "time/system_control_block.h"
#include "time/tick_listener.h"

namespace orvo {

class SystemControlBlockHandler : public Cm4SystemControlBlock, public TickListener {
 public:
  // Every chip has the section here.
  static constexpr char kSectionName[] = "SystemControlBlock";
  static constexpr unsigned kStart = 0xe0001000;
  static constexpr unsigned kSizeBytes = 57152;

  using Cm4SystemControlBlock::Cm4SystemControlBlock;

  void Reset(ResetType type) override;
  // SysTick reaches 0. Deliberate: starts the next count at the tick of the core clock, also when
  // another clock counts.
  unsigned long OnTick(unsigned long tick) override;
  // The raw word of the system control register, SCR.
  unsigned getCSR() const;

  unsigned get_DWT_CTRL(unsigned offset) override;
  void set_DWT_CTRL(unsigned offset, unsigned value) override;
  unsigned get_DWT_CYCCNT(unsigned offset) override;

  unsigned get_CSR(unsigned offset) override;
  void set_CSR(unsigned offset, unsigned value) override;
  void set_RVR(unsigned offset, unsigned value) override;
  unsigned get_CVR(unsigned offset) override;
  void set_CVR(unsigned offset, unsigned value) override;

  void set_NVIC_ISER(unsigned offset, unsigned index, unsigned value) override;
  void set_NVIC_ICER(unsigned offset, unsigned index, unsigned value) override;
  unsigned get_NVIC_ISPR(unsigned offset, unsigned index) override;
  void set_NVIC_ISPR(unsigned offset, unsigned index, unsigned value) override;
  unsigned get_NVIC_ICPR(unsigned offset, unsigned index) override;
  void set_NVIC_ICPR(unsigned offset, unsigned index, unsigned value) override;
  void set_NVIC_IABR(unsigned offset, unsigned index, unsigned value) override;
  void set_NVIC_IP(unsigned offset, unsigned index, unsigned value) override;

  unsigned get_ICSR(unsigned offset) override;
  void set_ICSR(unsigned offset, unsigned value) override;
  void set_VTOR(unsigned offset, unsigned value) override;
  void set_AIRCR(unsigned offset, unsigned value) override;
  void set_SHPR1(unsigned offset, unsigned value) override;
  void set_SHPR2(unsigned offset, unsigned value) override;
  void set_SHPR3(unsigned offset, unsigned value) override;
  void set_SHCSR(unsigned offset, unsigned value) override;
  void set_NVICSTIR(unsigned offset, unsigned value) override;

 private:
  Clock& CoreClock() const;
  Clock& SysTickClock() const;
  void StartSysTick();
  void SetSystemPriorities(unsigned offset, int first_interrupt_number, unsigned value);
  void SetFourPriorities(int first_interrupt_number, unsigned value);

  bool running_ = false;
  bool interrupt_forced_ = false;  // never set
  unsigned long start_tick_ = 0;   // of the core clock, when the present count began
};

}  // namespace orvo
