// The chip as a whole: creation, reset, virtual time, the exception frame.
#include "mcu/mcu.h"

#include <iomanip>
#include <iostream>
#include <new>
#include <sstream>

#include "config/configuration_file_handler.h"
#include "control/connection_manager.h"
#include "runner/args_manager.h"
#include "runner/errors.h"
#include "runner/logger.h"
#include "runner/text.h"

namespace orvo {

Mcu::Mcu(ScenarioFileHandler& scenario, WireManager* wires, ConnectionManager* connection)
    : clock_(&dynamic_cast<SourceClock&>(*GetClockByName(kCoreClock))),
      memory_(this),
      connection_(connection),
      wires_(wires),
      scenario_(scenario) {
  logger::debug("Mcu") << GetName() << "()...";
}

Mcu::~Mcu() {
  if (connection_ != nullptr) connection_->ReleasePeripherals();
}

// --- Creation and reset --------------------------------------------------------------------------

void Mcu::start() {
  logger::debug("Mcu") << "start...";
  logger::debug("Memory") << "CreateMemorySections...";
  CreateMemorySections();
  memory_.Init();
  SetFrequency();
  if (connection_ != nullptr) connection_->CreatePeripherals(this);
  ResizeFromConfiguration("Data RAM", "ram_size");
  ResizeFromConfiguration("Flash", "flash_size");
  interrupts_->LoadInterrupts(0);
}

void Mcu::ResizeFromConfiguration(const char* section, const char* key) {
  const ConfigurationFileHandler& board = ConfigurationFileHandler::Get();
  const unsigned size_bytes = board.GetIntFromMcuConfig(key);
  if (static_cast<int>(size_bytes) < 0) return;
  const JsonPlace place = board.McuConfigPlace()[key];
  MemorySection* resized = memory_.GetSectionByName(section);
  const MemorySection* next = nullptr;
  for (const MemorySection* other : memory_.GetSections()) {
    if (other->start() <= resized->start()) continue;
    if (next == nullptr || other->start() < next->start()) next = other;
  }
  if (next != nullptr && next->start() - resized->start() < size_bytes) {
    place.ReportExpected("at most " + std::to_string(next->start() - resized->start()) +
                         " bytes, up to " + next->name() + " at 0x" + IntToHex(next->start()));
    return;
  }
  try {
    resized->Resize(size_bytes);
  } catch (const std::bad_alloc&) {
    place.ReportExpected("a number of bytes that the host's memory holds");
  }
}

Peripheral* Mcu::AddDevice(std::unique_ptr<Peripheral> device) {
  return devices_.emplace_back(std::move(device)).get();
}

// Deliberate: the exceptions keep what firmware has written to NVIC and VTOR, whose registers read
// 0 after the reset: pc comes from the vector table that VTOR selected before (the stack pointer
// from flash), and lines stay enabled and keep their priorities.
void Mcu::Reset(ResetType type) {
  memory_.ResetMemory(type);
  const unsigned stack_pointer = memory_.get<false>(GetFlashOffset());
  const unsigned pc = interrupts_->GetAddress(kReset);
  registers_.init(pc, stack_pointer);
  interrupts_->Reset();
}

Clock* Mcu::GetSysTickExternalClock() { return clock_; }

std::string Mcu::GetName() const { return ArgsManager::Get().mcu; }

// --- Forwarders and questions --------------------------------------------------------------------

bool Mcu::isPending(int interrupt_number) const { return interrupts_->IsPending(interrupt_number); }

void Mcu::setEnabled(int interrupt_number, bool enabled) {
  interrupts_->SetEnabled(interrupt_number, enabled);
}

void Mcu::ReloadInterrupts(unsigned vector_table_base) {
  interrupts_->LoadInterrupts(vector_table_base);
}

void Mcu::serializeToFile(std::ostream* stream) {
  registers_.serializeToFile(stream);
  memory_.serializeToFile(stream);
}

unsigned Mcu::GetProgramFlashSizeKB() const {
  return memory_.GetSectionByName("Flash")->size() >> 10;
}

bool Mcu::IsVFPEnabled() {
  constexpr unsigned kCpacr = 0xe000ed88;
  constexpr unsigned kCp10FullAccess = 3u << 20;
  return (memory_.get<false>(kCpacr) & kCp10FullAccess) == kCp10FullAccess;
}

// --- Virtual time --------------------------------------------------------------------------------

unsigned long Mcu::NanosecondsOf(unsigned long ticks) const {
  const unsigned long frequency_hz = clock_->GetFrequency();
  // The product wraps: at 64 MHz after 288 s of virtual time.
  return frequency_hz == 0 ? 0 : ticks * 1'000'000'000 / frequency_hz;
}

unsigned long Mcu::GetTimeNs() const { return NanosecondsOf(clock_->TickCount()); }

unsigned long Mcu::GetTimeNsRelative() const {
  return NanosecondsOf(clock_->TickCount() - relative_time_origin_ticks_);
}

void Mcu::SetRelativeTime() { relative_time_origin_ticks_ = clock_->TickCount(); }

double Mcu::GetDeviceTime() const {
  const unsigned long frequency_hz = clock_->GetFrequency();
  if (frequency_hz == 0) return 0;
  return static_cast<double>(clock_->TickCount()) / static_cast<double>(frequency_hz) * 1e9;
}

void Mcu::PrintCPUTime() const {
  // Deliberate: a 64 MHz clock is assumed, so 64 ticks are a microsecond.
  constexpr unsigned long kTicksPerSecond = 64'000'000;
  const unsigned long ticks = clock_->TickCount();
  const unsigned long seconds = ticks / kTicksPerSecond;
  std::ostringstream text;
  text << seconds / 60 << ':' << std::setfill('0') << std::setw(2) << seconds % 60 << '.'
       << std::setw(6) << ((ticks % kTicksPerSecond) >> 6) << '\n';
  std::cout << text.str();
}

// --- Exception frame -----------------------------------------------------------------------------

void Mcu::pushValueToStack(unsigned value) {
  registers_.SetSP(registers_.sp() - 4);
  memory_.set<false>(registers_.sp(), value);
}

unsigned Mcu::popValueFromStack() {
  const unsigned value = memory_.get<false>(registers_.sp());
  registers_.SetSP(registers_.sp() + 4);
  return value;
}

// EXC_RETURN (ARMv7-M ARM, B1.5.8).
//     31 .. 5   4               3          2                 1 0
//     all ones  no FP context   to thread  on process stack  0 1
unsigned Mcu::ExceptionReturnValue() const {
  unsigned value = 0xffffffe1;
  if ((registers_.control() & control::kFpContext) == 0) value |= 1u << 4;
  if (Interrupts::mode_ == kHandlerMode) return value;
  value |= 1u << 3;
  if ((registers_.control() & control::kProcessStack) != 0) value |= 1u << 2;
  return value;
}

// Deliberate: pc is stacked as it is, with bit 0 set right after a bx, a pop or a load that wrote
// it so: the run loop clears the bit only when it fetches.
void Mcu::backupRegisters(int) {
  pushValueToStack(registers_.xpsr());
  pushValueToStack(registers_.pc());
  pushValueToStack(registers_.lr());
  for (const unsigned n : {12u, 3u, 2u, 1u, 0u}) pushValueToStack(registers_.r(n));
  registers_.lr() = ExceptionReturnValue();
}

void Mcu::restoreRegisters(bool floating_point) {
  for (const unsigned n : {0u, 1u, 2u, 3u, 12u}) registers_.r(n) = popValueFromStack();
  registers_.lr() = popValueFromStack();
  registers_.pc() = popValueFromStack();
  registers_.set_xpsr(popValueFromStack());
  registers_.control() &= ~control::kFpContext;
  if (floating_point) registers_.control() |= control::kFpContext;
}

}  // namespace orvo
