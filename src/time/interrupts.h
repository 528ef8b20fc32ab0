// The exception engine of the Cortex-M4 (ARMv7-M ARM, B1.5): table of exceptions, pending queue,
// arbitration, entry and return. Interrupt numbers are those of CMSIS (external from 0 up, system
// exceptions negative); exception number = interrupt number + 16, as in IPSR.
// Deliberate simplifications: no tail-chaining and no late arrival (a return always unstacks, the
// next exception stacks anew), S0 to S15 are never stacked, and only the running exception is
// compared for preemption.
#pragma once

#include <array>
#include <ostream>
#include <string>
#include <vector>

#include "memory/memory_section.h"
#include "runner/orvo_signals.h"

namespace orvo {

class Mcu;

enum InterruptNumber : int {
  kReset = -15,
  kNmi = -14,
  kHardFault = -13,
  kMemManage = -12,
  kBusFault = -11,
  kUsageFault = -10,
  kSvCall = -5,
  kDebugMonitor = -4,
  kPendSv = -2,
  kSysTick = -1,
};

enum mcu_mode_t : unsigned char { kThreadMode = 0, kHandlerMode = 1 };

struct ExceptionRecord {
  unsigned vector_address = 0;  // of the vector table entry; 0 if the exception doesn't exist
  int priority = 0;             // lower wins
  bool enabled = false;
  bool pending = false;
  bool active = false;
  bool in_queue = false;
  std::string name;
};

class Interrupts {
 public:
  Interrupts(Mcu* mcu, int external_count);
  virtual ~Interrupts() = default;

  // The way in for peripherals. Returns whether the pending state changed. Numbers beyond the
  // table, 240 and up, do nothing in any operation.
  bool RaiseInterrupt(int interrupt_number, bool pending);
  bool SetPending(int interrupt_number, bool pending);
  bool IsPending(int interrupt_number) const;
  // Throws OrvoError when it enables a pending exception that the chip doesn't have.
  void SetEnabled(int interrupt_number, bool enabled);
  void SetPriority(int interrupt_number, unsigned char priority);
  unsigned char GetPriority(int interrupt_number) const;
  // Handler address, read from the vector table.
  unsigned GetAddress(int interrupt_number) const;
  unsigned CurrentInterruptNumber() const;
  // Whether pc holds an exception return value.
  bool IsInterruptNeeded() const;
  // Arbitration and entry; returns whether an exception was taken. Does nothing while no exception
  // waits, which callers test first with *pending_empty().
  bool ExecuteInterruptIfNeeded();
  // Exception return, if pc holds a return value. Throws OrvoError in thread mode and for a value
  // that names no mode.
  void ReturnFromInterruptIfNeeded();
  void Reset();
  // Fills the table for a vector table at the address; families add their external interrupts.
  virtual void LoadInterrupts(unsigned vector_table_base);
  int ExceptionActiveCount() const;
  // Empty for a number above 255.
  std::string GetInterruptName(unsigned exception_number) const;
  int external_count() const { return external_count_; }

  // Where entries and returns are printed, if -t asks for it.
  void SetTraceOutputDest();
  // True while no exception waits in the pending queue; the run loop reads it before each
  // instruction.
  const bool* pending_empty() const { return &pending_empty_; }

  // The ICSR value lives at an offset of its own; the register's getter composes from it.
  static void SetICSR(Mcu* mcu, unsigned value);
  static unsigned GetICSR(Mcu* mcu);

  // Static so that instruction semantics reach it without a pointer.
  static inline mcu_mode_t mode_ = kThreadMode;

 protected:
  // One external interrupt: its name and the address of its vector.
  void AddExternal(int interrupt_number, const char* name);

 private:
  static bool Exists(int interrupt_number);
  ExceptionRecord& Record(int interrupt_number);
  const ExceptionRecord& Record(int interrupt_number) const;
  void EscalateFault(int interrupt_number);
  bool PassesMasks(int priority) const;
  bool PreemptsRunning(int priority) const;
  static int Group(int priority, unsigned prigroup);
  bool StandsBefore(unsigned a, unsigned b) const;
  void EmplacePendingInterrupt(unsigned exception_number);
  void RemovePendingInterrupt(unsigned exception_number);
  void PopPendingInterrupt();
  void SetPendingInSCB();
  void HandlerIsMissing(unsigned exception_number);
  void EnterException(unsigned exception_number, unsigned handler);
  void IntegrityChecksFailed();
  bool ThreadIsAllowed() const;
  bool PopStack();
  MemorySection& Scb() const;

  bool pending_empty_ = true;
  Mcu* mcu_;
  std::array<ExceptionRecord, 256> records_;
  unsigned vector_table_base_ = 0;
  std::vector<unsigned> pending_;  // exception numbers, a binary heap
  mutable MemorySection* scb_ = nullptr;
  std::ostream* trace_ = nullptr;
  int external_count_;
  Connection<int> raise_connection_;
};

}  // namespace orvo
