// The table of exceptions and the pending queue.
#include "time/interrupts.h"

#include <algorithm>
#include <iostream>

#include "mcu/mcu.h"
#include "runner/args_manager.h"
#include "time/scb_bits.h"
#include "time/system_control_block.h"

namespace orvo {

namespace {

constexpr int kFirstExternal = 16;  // exception number of interrupt 0

// The exceptions that every chip has. Their vectors stand at 4 * exception number.
struct SystemException {
  int interrupt_number;
  const char* name;
  int priority;
  bool fixed_priority;  // otherwise the priority is the firmware's and survives a new VTOR
  bool enabled_at_load;
};
// clang-format off
constexpr SystemException kSystemExceptions[] = {
    {kReset,        "Reset",                   -3, true,  true},
    {kNmi,          "NMI",                     -2, true,  true},
    {kHardFault,    "Hard Fault",              -1, true,  true},
    {kMemManage,    "Memory Management Fault",  0, false, false},
    {kBusFault,     "Bus Fault",                0, false, false},
    {kUsageFault,   "Usage Fault",              0, false, false},
    {kSvCall,       "Svcall",                   0, false, false},
    {kDebugMonitor, "Debug Non",                0, false, false},
    {kPendSv,       "Pendsv",                   0, false, false},
    {kSysTick,      "Systick",                  0, false, true},
};
// clang-format on

}  // namespace

Interrupts::Interrupts(Mcu* mcu, int external_count)
    : mcu_(mcu),
      external_count_(external_count),
      raise_connection_(OrvoSignals::Get().raise_interrupt,
                        [this](int interrupt_number) { RaiseInterrupt(interrupt_number, true); }) {}

// --- Table ---------------------------------------------------------------------------------------

bool Interrupts::Exists(int interrupt_number) {
  return interrupt_number >= kReset && interrupt_number < 256 - kFirstExternal;
}

ExceptionRecord& Interrupts::Record(int interrupt_number) {
  return records_[static_cast<unsigned>(interrupt_number + kFirstExternal)];
}

const ExceptionRecord& Interrupts::Record(int interrupt_number) const {
  return records_[static_cast<unsigned>(interrupt_number + kFirstExternal)];
}

MemorySection& Interrupts::Scb() const {
  if (scb_ == nullptr) scb_ = mcu_->memory().GetSectionByName("SystemControlBlock");
  return *scb_;
}

void Interrupts::LoadInterrupts(unsigned vector_table_base) {
  vector_table_base_ = vector_table_base;
  scb_ = mcu_->memory().GetSectionByName("SystemControlBlock");
  for (const SystemException& exception : kSystemExceptions) {
    AddExternal(exception.interrupt_number, exception.name);
    ExceptionRecord& record = Record(exception.interrupt_number);
    if (exception.fixed_priority) record.priority = exception.priority;
    if (exception.enabled_at_load) record.enabled = true;
  }
}

void Interrupts::AddExternal(int interrupt_number, const char* name) {
  ExceptionRecord& record = Record(interrupt_number);
  record.vector_address =
      vector_table_base_ + 4 * static_cast<unsigned>(interrupt_number + kFirstExternal);
  record.name = name;
}

bool Interrupts::IsPending(int interrupt_number) const {
  return Exists(interrupt_number) && Record(interrupt_number).pending;
}

void Interrupts::SetEnabled(int interrupt_number, bool enabled) {
  if (!Exists(interrupt_number)) return;
  ExceptionRecord& record = Record(interrupt_number);
  record.enabled = enabled;
  if (!record.pending) return;
  const unsigned exception_number = static_cast<unsigned>(interrupt_number + kFirstExternal);
  if (enabled && record.vector_address == 0) {
    throw OrvoError("Unsupported interrupt: " + std::to_string(exception_number) +
                    " in Interrupts::SetEnabled");
  }
  if (enabled) {
    EmplacePendingInterrupt(exception_number);
  } else {
    RemovePendingInterrupt(exception_number);
  }
}

void Interrupts::SetPriority(int interrupt_number, unsigned char priority) {
  if (Exists(interrupt_number)) Record(interrupt_number).priority = priority;
}

unsigned char Interrupts::GetPriority(int interrupt_number) const {
  if (!Exists(interrupt_number)) return 0;
  return static_cast<unsigned char>(Record(interrupt_number).priority);
}

unsigned Interrupts::GetAddress(int interrupt_number) const {
  if (!Exists(interrupt_number)) return 0;
  return mcu_->memory().get<false>(Record(interrupt_number).vector_address);
}

int Interrupts::ExceptionActiveCount() const {
  return static_cast<int>(std::count_if(records_.begin(), records_.end(),
                                        [](const ExceptionRecord& r) { return r.active; }));
}

std::string Interrupts::GetInterruptName(unsigned exception_number) const {
  return exception_number < records_.size() ? records_[exception_number].name : std::string();
}

void Interrupts::SetTraceOutputDest() {
  ArgsManager& args = ArgsManager::Get();
  trace_ = nullptr;
  if (args.trace.find("interrupts") == std::string::npos) return;
  const bool to_file = args.trace_stream.is_open() && args.trace_stream.good();
  trace_ = to_file ? static_cast<std::ostream*>(&args.trace_stream) : &std::cout;
}

// Deliberate: enabled flags, priorities and the vector table base stay, while the registers that
// feed them read 0 after the reset.
void Interrupts::Reset() {
  mode_ = kThreadMode;
  for (ExceptionRecord& record : records_) {
    record.pending = false;
    record.active = false;
    record.in_queue = false;
  }
  pending_.clear();
  pending_empty_ = true;
  SetICSR(mcu_, 0);
}

// --- Pending -------------------------------------------------------------------------------------

bool Interrupts::RaiseInterrupt(int interrupt_number, bool pending) {
  const bool changed = SetPending(interrupt_number, pending);
  if (changed ||
      (pending && (Scb().MemorySection::get(Cm4SystemControlBlock::SCR) & scb::kSevOnPend) != 0)) {
    mcu_->SetEventHappened(true);
  }
  return changed;
}

bool Interrupts::SetPending(int interrupt_number, bool pending) {
  if (!Exists(interrupt_number)) return false;
  ExceptionRecord& record = Record(interrupt_number);
  if (record.pending == pending) return false;
  const unsigned exception_number = static_cast<unsigned>(interrupt_number + kFirstExternal);
  if (!pending) {
    record.pending = false;
    RemovePendingInterrupt(exception_number);
    return false;
  }
  if (!record.enabled) {
    switch (interrupt_number) {
      case kNmi:
      case kSvCall:
      case kPendSv:
        break;  // pend whether or not enabled
      case kMemManage:
      case kBusFault:
      case kUsageFault:
        EscalateFault(interrupt_number);
        return true;
      default:
        record.pending = true;  // waits for SetEnabled
        return true;
    }
  }
  record.pending = true;
  if (interrupt_number == kMemManage) {
    Scb().set(Cm4SystemControlBlock::CFSR,
              Scb().get(Cm4SystemControlBlock::CFSR) | scb::kDaccViol | scb::kMmarValid);
  }
  EmplacePendingInterrupt(exception_number);
  return true;
}

// A fault that is disabled becomes a Hard Fault (ARMv7-M ARM, B1.5.14), and isn't pending itself.
// Deliberate: CFSR shows MemManage as an imprecise BusFault then, without DACCVIOL.
void Interrupts::EscalateFault(int interrupt_number) {
  if (interrupt_number == kMemManage) {
    Scb().set(Cm4SystemControlBlock::CFSR,
              Scb().get(Cm4SystemControlBlock::CFSR) | scb::kImpreciseErr);
  }
  Memory& memory = mcu_->memory();
  const unsigned address = Scb().start() + Cm4SystemControlBlock::HFSR;
  memory.set<true>(address, memory.get<true>(address) | scb::kForced);
  RaiseInterrupt(kHardFault, true);
}

// The priority is read at the time of comparison: a new one doesn't move what is queued already.
bool Interrupts::StandsBefore(unsigned a, unsigned b) const {
  const int priority_a = records_[a].priority;
  const int priority_b = records_[b].priority;
  return priority_a < priority_b || (priority_a == priority_b && a < b);
}

void Interrupts::EmplacePendingInterrupt(unsigned exception_number) {
  ExceptionRecord& record = records_[exception_number];
  if (record.in_queue) return;
  record.in_queue = true;
  pending_.push_back(exception_number);
  std::push_heap(pending_.begin(), pending_.end(),
                 [this](unsigned a, unsigned b) { return StandsBefore(b, a); });
  pending_empty_ = false;
  SetPendingInSCB();
}

// Deliberate: closes the gap without restoring the order of the heap.
void Interrupts::RemovePendingInterrupt(unsigned exception_number) {
  records_[exception_number].in_queue = false;
  const auto place = std::find(pending_.begin(), pending_.end(), exception_number);
  if (place != pending_.end()) pending_.erase(place);
  pending_empty_ = pending_.empty();
  SetPendingInSCB();
}

// Takes out the first entry.
void Interrupts::PopPendingInterrupt() {
  records_[pending_.front()].in_queue = false;
  std::pop_heap(pending_.begin(), pending_.end(),
                [this](unsigned a, unsigned b) { return StandsBefore(b, a); });
  pending_.pop_back();
  pending_empty_ = pending_.empty();
  SetPendingInSCB();
}

// --- ICSR ----------------------------------------------------------------------------------------

void Interrupts::SetICSR(Mcu* mcu, unsigned value) {
  mcu->interrupts().Scb().MemorySection::set(scb::kIcsrStorage, value);
}

unsigned Interrupts::GetICSR(Mcu* mcu) {
  return mcu->interrupts().Scb().MemorySection::get(scb::kIcsrStorage);
}

// Deliberate: VECTPENDING compares the exception's number with the masks where arbitration
// compares its priority; the mirror is only approximate.
void Interrupts::SetPendingInSCB() {
  const Registers& registers = mcu_->registers();
  unsigned shown = 0;
  if (!pending_.empty() && registers.word(kFaultmask) == 0) {
    const unsigned basepri = registers.word(kBasepri) & scb::kBasepriMask;
    const unsigned limit = basepri == 0 ? scb::kLowestPriority : basepri;
    if (pending_.front() < limit) shown = pending_.front();
  }
  const unsigned icsr = GetICSR(mcu_) & ~scb::kVectPending;
  SetICSR(mcu_, icsr | ((shown << scb::kVectPendingShift) & scb::kVectPending));
}

}  // namespace orvo
