// Arbitration, exception entry and exception return (ARMv7-M ARM, B1.5.4 to B1.5.8).
#include <iostream>

#include "mcu/mcu.h"
#include "time/interrupts.h"
#include "time/scb_bits.h"
#include "time/system_control_block.h"

namespace orvo {

namespace {

// Low four bits of an EXC_RETURN value.
enum ReturnTo : unsigned { kHandlerMain = 1, kThreadMain = 9, kThreadProcess = 13 };

}  // namespace

unsigned Interrupts::CurrentInterruptNumber() const {
  return mcu_->registers().status() & xpsr::kExceptionNumber;
}

bool Interrupts::IsInterruptNeeded() const { return mcu_->registers().pc() >> 28 == 0xf; }

// --- Arbitration ---------------------------------------------------------------------------------

bool Interrupts::PassesMasks(int priority) const {
  const Registers& registers = mcu_->registers();
  if (registers.word(kFaultmask) != 0) return priority < -1;
  if (registers.word(kPrimask) != 0) return priority < 0;
  const unsigned basepri = registers.word(kBasepri) & scb::kBasepriMask;
  return priority < static_cast<int>(basepri == 0 ? scb::kLowestPriority : basepri);
}

// The group of a priority by AIRCR.PRIGROUP. Deliberate: 1, 2 and 3 are never split, and the
// negative priorities are shifted too: NMI and Hard Fault are one group always, Reset is in it from
// a PRIGROUP of 1 on.
int Interrupts::Group(int priority, unsigned prigroup) {
  if (priority >= 1 && priority <= 3) return priority;
  return priority >> (prigroup + 1);
}

// Deliberate: only the running exception is compared, not every active one.
bool Interrupts::PreemptsRunning(int priority) const {
  const unsigned running = CurrentInterruptNumber();
  if (running == 0 || running >= records_.size()) return true;
  const unsigned aircr = Scb().MemorySection::get(Cm4SystemControlBlock::AIRCR);
  const unsigned prigroup = aircr >> scb::kPriGroupShift & scb::kPriGroup;
  return Group(priority, prigroup) < Group(records_[running].priority, prigroup);
}

bool Interrupts::ExecuteInterruptIfNeeded() {
  if (pending_empty_) return false;
  const unsigned number = pending_.front();
  const ExceptionRecord& record = records_[number];
  if (!PassesMasks(record.priority) || !PreemptsRunning(record.priority)) return false;
  const unsigned handler = mcu_->memory().get<false>(record.vector_address);
  if (handler == 0) {
    HandlerIsMissing(number);
  } else {
    EnterException(number, handler);
  }
  return true;
}

// A Hard Fault in place of an exception without a handler, which stays pending.
void Interrupts::HandlerIsMissing(unsigned exception_number) {
  const ExceptionRecord& record = records_[exception_number];
  const std::string which =
      record.name.empty() ? "address " + std::to_string(record.vector_address) : record.name;
  std::cerr << "Warning: handler for interrupt for " << which
            << " wasn't define. Please check your firmware handler configuration.\n";
  RaiseInterrupt(kHardFault, true);
  if (pending_.front() == exception_number) {
    // The Hard Fault itself has no handler, or stands behind an exception that has none: the chip
    // would lock up (ARMv7-M ARM, B1.5.15). So for every vector table, not only one at 0.
    OrvoSignals::Get().terminate.emit(1);
    return;
  }
  ExecuteInterruptIfNeeded();
}

// --- Entry ---------------------------------------------------------------------------------------

void Interrupts::EnterException(unsigned exception_number, unsigned handler) {
  ExceptionRecord& record = records_[exception_number];
  Registers& registers = mcu_->registers();
  record.pending = false;
  record.active = true;
  // Before the stacking, which may raise this very exception again.
  PopPendingInterrupt();
  mcu_->backupRegisters(record.priority);

  // Deliberate: RETTOBASE says that the exception came out of thread mode, whatever else is active,
  // and isn't restored by a return.
  unsigned icsr = GetICSR(mcu_) & ~(scb::kRetToBase | scb::kVectActive);
  if (mode_ == kThreadMode) icsr |= scb::kRetToBase;
  SetICSR(mcu_, icsr | exception_number);
  registers.status() = (registers.status() & ~xpsr::kExceptionNumber) | exception_number;
  registers.it() = 0;
  mode_ = kHandlerMode;
  registers.pc() = handler;
  mcu_->SendMcuInterruptPacket(record.name);
  registers.control() &= ~(control::kProcessStack | control::kFpContext);
  if (trace_ != nullptr) {
    *trace_ << "Calling IRQ handler for \"" << record.name << "\" (IRQ no. "
            << static_cast<int>(exception_number) - 16 << ")\n";
  }
  if (exception_number == static_cast<unsigned>(kReset + 16)) mcu_->Reset(kSoftwareReset);
}

// --- Return --------------------------------------------------------------------------------------

void Interrupts::ReturnFromInterruptIfNeeded() {
  if (!IsInterruptNeeded()) return;
  if (mode_ == kThreadMode) {
    throw OrvoError("Incorrect state, PC set to return but in main thread mode");
  }
  Registers& registers = mcu_->registers();
  const unsigned number = CurrentInterruptNumber();
  if (number != (GetICSR(mcu_) & scb::kVectActive)) return IntegrityChecksFailed();
  if (number < records_.size()) records_[number].active = false;

  const unsigned target = registers.pc() & 15;
  switch (target) {
    case kThreadMain:
    case kThreadProcess:
      if (!ThreadIsAllowed()) return IntegrityChecksFailed();
      mode_ = kThreadMode;
      break;
    case kHandlerMain:
      mode_ = kHandlerMode;
      break;
    default:
      throw OrvoError("Unexpected return to mode: " + std::to_string(target) +
                      " in Interrupts::ReturnFromInterruptIfNeeded");
  }
  if (target == kThreadProcess) {
    registers.control() |= control::kProcessStack;
  } else {
    registers.control() &= ~control::kProcessStack;
  }
  if (!PopStack()) return;
  if (trace_ != nullptr) {
    *trace_ << "Returning from IRQ handler \"" << GetInterruptName(number) << "\" (IRQ no. "
            << static_cast<int>(number) - 16 << "). Returns to "
            << (mode_ == kThreadMode ? "thread mode (interrupt 0)" : "handler mode") << ", "
            << (target == kThreadProcess ? "program" : "main") << " stack pointer\n";
  }
}

bool Interrupts::ThreadIsAllowed() const {
  if (ExceptionActiveCount() == 0) return true;
  return (mcu_->memory().get<false>(Scb().start() + Cm4SystemControlBlock::CCR) &
          scb::kNonBaseThrdEna) != 0;
}

// Returns whether the frame agrees with the mode that it returns to.
bool Interrupts::PopStack() {
  // Deliberate: bit 3 of the return value, which is clear for every return to handler mode, decides
  // whether a floating point context is live afterwards. No S register is unstacked.
  const bool floating_point = (mcu_->registers().pc() & 8) == 0;
  mcu_->restoreRegisters(floating_point);
  const unsigned number = CurrentInterruptNumber();
  SetICSR(mcu_, (GetICSR(mcu_) & ~scb::kVectActive) | number);
  if ((number == 0) == (mode_ == kThreadMode)) return true;
  IntegrityChecksFailed();
  return false;
}

void Interrupts::IntegrityChecksFailed() {
  Scb().set(Cm4SystemControlBlock::CFSR, Scb().get(Cm4SystemControlBlock::CFSR) | scb::kInvPc);
  RaiseInterrupt(kUsageFault, true);
  ExecuteInterruptIfNeeded();
}

}  // namespace orvo
