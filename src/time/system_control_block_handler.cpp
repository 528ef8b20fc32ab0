#define DEFINE_REGISTER_CLASSES
#include "time/system_control_block_handler.h"

#include "mcu/mcu.h"
#include "runner/text.h"
#include "time/scb_bits.h"

namespace orvo {

namespace {

// Calls the function with the number of each bit that is set, from bit 0 up.
template <class Function>
void ForEachBit(unsigned value, Function function) {
  for (int bit = 0; bit < 32; ++bit) {
    if ((value >> bit & 1) != 0) function(bit);
  }
}

int FirstInterrupt(unsigned index) { return 32 * static_cast<int>(index); }

}  // namespace

unsigned SystemControlBlockHandler::getCSR() const {
  return const_cast<SystemControlBlockHandler*>(this)->MemorySection::get(SCR);
}

void SystemControlBlockHandler::Reset(ResetType type) {
  CoreClock().DetachFromTick(this);
  mcu_->GetSysTickExternalClock()->DetachFromTick(this);
  mcu_->SetEventHappened(false);
  running_ = false;
  PeripheralMemory::Reset(type);
}

// --- DWT -----------------------------------------------------------------------------------------

unsigned SystemControlBlockHandler::get_DWT_CTRL(unsigned offset) {
  const unsigned value = MemorySection::get(offset);
  if ((value & scb::kCycDisable) != 0) {
    throw OrvoError("Not supported bit 25 equal 1 in get_DWT_CTRL, Please contact Zandor Team");
  }
  return value;
}

void SystemControlBlockHandler::set_DWT_CTRL(unsigned offset, unsigned value) {
  MemorySection::set(offset, value);
  if ((value & scb::kCycDisable) != 0) {
    throw OrvoError("Not supported bit 25 equal 1 in set_DWT_CTRL, Please contact Zandor Team");
  }
}

// Deliberate: counts always, whatever DWT_CTRL.CYCCNTENA says and whatever was written here.
unsigned SystemControlBlockHandler::get_DWT_CYCCNT(unsigned) {
  return static_cast<unsigned>(CoreClock().TickCount());
}

// --- SysTick: counts by tick arithmetic, without work per tick -----------------------------------

Clock& SystemControlBlockHandler::CoreClock() const { return mcu_->clock(); }

Clock& SystemControlBlockHandler::SysTickClock() const {
  const bool core = (const_cast<SystemControlBlockHandler*>(this)->MemorySection::get(CSR) &
                     scb::kClkSource) != 0;
  return core ? CoreClock() : *mcu_->GetSysTickExternalClock();
}

void SystemControlBlockHandler::set_CSR(unsigned offset, unsigned value) {
  MemorySection::set(offset, value);
  // Deliberate: choosing the external clock takes a running counter off the core clock for good.
  if ((value & scb::kClkSource) == 0) CoreClock().DetachFromTick(this);
  if ((value & scb::kSysTickEnable) == 0) {
    running_ = false;  // the listener may stay attached; OnTick finds the counter off
    return;
  }
  if (!running_) StartSysTick();
}

// Deliberate: a period is RVR ticks, not RVR + 1; and where an external clock counts, the tick of
// that clock at which the period ends is worked out from the tick of the core clock.
void SystemControlBlockHandler::StartSysTick() {
  const unsigned reload = MemorySection::get(RVR);
  // A reload value of 0 keeps the counter at 0 (ARMv7-M ARM, B3.3.1): set_RVR starts it.
  if (reload == 0) return;
  // A count that was switched off before it ended is still attached.
  CoreClock().DetachFromTick(this);
  mcu_->GetSysTickExternalClock()->DetachFromTick(this);
  start_tick_ = CoreClock().TickCount();
  running_ = true;
  SysTickClock().AttachToTick(reload + start_tick_, this, false);
}

unsigned long SystemControlBlockHandler::OnTick(unsigned long) {
  const unsigned control = MemorySection::get(CSR);
  MemorySection::set(CSR, control | scb::kCountFlag);
  if (!running_) return 0;
  start_tick_ = CoreClock().TickCount();
  if ((control & scb::kTickInt) != 0 || interrupt_forced_)
    mcu_->interrupts().RaiseInterrupt(kSysTick, true);
  const unsigned reload = MemorySection::get(RVR);
  if (reload == 0) {
    running_ = false;
    return 0;
  }
  return start_tick_ + reload;
}

unsigned SystemControlBlockHandler::get_CSR(unsigned offset) {
  const unsigned value = MemorySection::get(offset);
  MemorySection::set(offset, value & ~scb::kCountFlag);
  return value;
}

// Takes effect at the next wrap, or at once if the counter is enabled and waits for a value.
void SystemControlBlockHandler::set_RVR(unsigned offset, unsigned value) {
  MemorySection::set(offset, value);
  const bool enabled = (MemorySection::get(CSR) & scb::kSysTickEnable) != 0;
  if (enabled && !running_) StartSysTick();
}

// Deliberate: 32 bits where the chip has 24, of the core clock always, and counting on while
// SysTick is switched off.
unsigned SystemControlBlockHandler::get_CVR(unsigned) {
  return static_cast<unsigned>(MemorySection::get(RVR) + start_tick_ - CoreClock().TickCount());
}

// Deliberate: the value is ignored, COUNTFLAG stays, and the next wrap comes at its old time while
// reads count from now. What lands in the storage is CSR.
void SystemControlBlockHandler::set_CVR(unsigned offset, unsigned) {
  start_tick_ = CoreClock().TickCount();
  MemorySection::set(offset, MemorySection::get(CSR) & ~scb::kCountFlag);
}

// --- NVIC ----------------------------------------------------------------------------------------

// ISER and ICER read alike: both hold what is enabled.
void SystemControlBlockHandler::set_NVIC_ISER(unsigned, unsigned index, unsigned value) {
  const unsigned enabled = MemorySection::get(NVIC_ISER + 4 * index) | value;
  MemorySection::set(NVIC_ISER + 4 * index, enabled);
  MemorySection::set(NVIC_ICER + 4 * index, enabled);
  ForEachBit(value, [&](int bit) { mcu_->setEnabled(FirstInterrupt(index) + bit, true); });
}

void SystemControlBlockHandler::set_NVIC_ICER(unsigned, unsigned index, unsigned value) {
  const unsigned enabled = MemorySection::get(NVIC_ICER + 4 * index) & ~value;
  MemorySection::set(NVIC_ISER + 4 * index, enabled);
  MemorySection::set(NVIC_ICER + 4 * index, enabled);
  ForEachBit(value, [&](int bit) { mcu_->setEnabled(FirstInterrupt(index) + bit, false); });
}

unsigned SystemControlBlockHandler::get_NVIC_ISPR(unsigned offset, unsigned index) {
  return get_NVIC_ICPR(offset, index);
}

void SystemControlBlockHandler::set_NVIC_ISPR(unsigned, unsigned index, unsigned value) {
  ForEachBit(value, [&](int bit) {
    mcu_->interrupts().RaiseInterrupt(FirstInterrupt(index) + bit, true);
  });
}

unsigned SystemControlBlockHandler::get_NVIC_ICPR(unsigned, unsigned index) {
  unsigned pending = 0;
  for (int bit = 0; bit < 32; ++bit) {
    if (mcu_->isPending(FirstInterrupt(index) + bit)) pending |= 1u << bit;
  }
  return pending;
}

void SystemControlBlockHandler::set_NVIC_ICPR(unsigned, unsigned index, unsigned value) {
  ForEachBit(value, [&](int bit) {
    mcu_->interrupts().RaiseInterrupt(FirstInterrupt(index) + bit, false);
  });
}

void SystemControlBlockHandler::set_NVIC_IABR(unsigned, unsigned, unsigned) {}

// Deliberate: all eight bits of a priority exist, except on the STM32L475, where four do.
void SystemControlBlockHandler::set_NVIC_IP(unsigned offset, unsigned index, unsigned value) {
  if (mcu_->GetName() == "stm32l475") value &= 0xf0f0f0f0;
  MemorySection::set(offset, value);
  SetFourPriorities(4 * static_cast<int>(index), value);
}

void SystemControlBlockHandler::SetFourPriorities(int first_interrupt_number, unsigned value) {
  for (int i = 0; i < 4; ++i) {
    mcu_->interrupts().SetPriority(first_interrupt_number + i,
                                   static_cast<unsigned char>(value >> (8 * i)));
  }
}

void SystemControlBlockHandler::set_NVICSTIR(unsigned, unsigned) {
  throw OrvoError("Set STIR in SystemControlBlockHandler currently not supported");
}

// --- System control block ------------------------------------------------------------------------

unsigned SystemControlBlockHandler::get_ICSR(unsigned) {
  const Interrupts& interrupts = mcu_->interrupts();
  unsigned value = Interrupts::GetICSR(mcu_) & 0x6bbfffff;
  if (interrupts.IsPending(kNmi)) value |= scb::kNmiPendSet;
  if (interrupts.IsPending(kPendSv)) value |= scb::kPendSvSet;
  if (interrupts.IsPending(kSysTick)) value |= scb::kPendStSet;
  for (int number = kSvCall; number <= interrupts.external_count(); ++number) {
    if (interrupts.IsPending(number)) value |= scb::kIsrPending;
  }
  return value;
}

void SystemControlBlockHandler::set_ICSR(unsigned, unsigned value) {
  Interrupts& interrupts = mcu_->interrupts();
  if ((value & scb::kPendSvSet) != 0) interrupts.RaiseInterrupt(kPendSv, true);
  if ((value & scb::kNmiPendSet) != 0) interrupts.RaiseInterrupt(kNmi, true);
  if ((value & scb::kPendSvClear) != 0) interrupts.RaiseInterrupt(kPendSv, false);
  if ((value & scb::kPendStSet) != 0) interrupts.RaiseInterrupt(kSysTick, true);
  if ((value & scb::kPendStClear) != 0) interrupts.RaiseInterrupt(kSysTick, false);
}

void SystemControlBlockHandler::set_VTOR(unsigned offset, unsigned value) {
  const unsigned base = value & ~0xffu;
  MemorySection::set(offset, base);
  mcu_->ReloadInterrupts(base);
}

void SystemControlBlockHandler::set_AIRCR(unsigned offset, unsigned value) {
  // Plain storage that nothing writes: the memory is little-endian.
  constexpr unsigned kEndiannessStorage = 0x0d04;
  if ((value & 0xffff0000) != scb::kVectKey) return;
  Cm4SystemControlBlock::set_AIRCR(
      offset, (MemorySection::get(kEndiannessStorage) & scb::kEndianness) | (value & 0x7fff) |
                  scb::kVectKeyStat);
  // Taken as an exception, between two instructions. VECTRESET and VECTCLRACTIVE do nothing.
  if ((value & scb::kSysResetReq) != 0) mcu_->interrupts().RaiseInterrupt(kReset, true);
}

// Deliberate: three priority bits on every chip, other than for external interrupts.
void SystemControlBlockHandler::SetSystemPriorities(unsigned offset, int first_interrupt_number,
                                                    unsigned value) {
  value &= 0xe0e0e0e0;
  MemorySection::set(offset, value);
  SetFourPriorities(first_interrupt_number, value);
}

void SystemControlBlockHandler::set_SHPR1(unsigned offset, unsigned value) {
  SetSystemPriorities(offset, -12, value);
}

void SystemControlBlockHandler::set_SHPR2(unsigned offset, unsigned value) {
  SetSystemPriorities(offset, -8, value);
}

void SystemControlBlockHandler::set_SHPR3(unsigned offset, unsigned value) {
  SetSystemPriorities(offset, -4, value);
}

void SystemControlBlockHandler::set_SHCSR(unsigned offset, unsigned value) {
  Cm4SystemControlBlock::set_SHCSR(offset, value);
  mcu_->setEnabled(kUsageFault, (value & scb::kUsgFaultEna) != 0);
  mcu_->setEnabled(kBusFault, (value & scb::kBusFaultEna) != 0);
  mcu_->setEnabled(kMemManage, (value & scb::kMemFaultEna) != 0);
  if ((value & scb::kActOrPended) != 0) {
    throw OrvoError("Unsupported value 0x" + IntToHex(value) +
                    " for SHCSR in System Control Block");
  }
}

}  // namespace orvo
