// A chip whose every exception has a handler, ready to take exceptions in thread mode.
#pragma once

#include "support/test_mcu.h"

namespace orvo {

struct ExceptionBench {
  static constexpr unsigned kStackTop = TestMcu::kRamStart + 0x1000;
  static constexpr unsigned kProcessStackTop = TestMcu::kRamStart + 0x2000;
  static constexpr unsigned kCode = 0x4000;

  static constexpr unsigned HandlerOf(int interrupt_number) {
    return 0x1001 + 0x10 * static_cast<unsigned>(interrupt_number + 16);
  }

  ExceptionBench() {
    mcu.memory().set<false>(0, kStackTop);
    for (int number = kReset; number < TestMcu::kExternalInterrupts; ++number) {
      SetVector(0, number, HandlerOf(number));
    }
    mcu.Reset(kPowerOnReset);
    registers.pc() = kCode;
  }

  void SetVector(unsigned table, int interrupt_number, unsigned handler) {
    mcu.memory().set<false>(table + 4 * static_cast<unsigned>(interrupt_number + 16), handler);
  }
  void Enable(int interrupt_number, unsigned char priority = 0) {
    interrupts.SetPriority(interrupt_number, priority);
    interrupts.SetEnabled(interrupt_number, true);
  }
  void Raise(int interrupt_number) { interrupts.RaiseInterrupt(interrupt_number, true); }
  bool Step() { return interrupts.ExecuteInterruptIfNeeded(); }
  // Interrupt number of what runs, -16 in thread mode.
  int Running() const { return static_cast<int>(interrupts.CurrentInterruptNumber()) - 16; }
  void Return(unsigned exc_return) {
    registers.pc() = exc_return;
    interrupts.ReturnFromInterruptIfNeeded();
  }
  void Return() { Return(registers.lr()); }
  unsigned Word(unsigned address) { return mcu.memory().get<false>(address); }
  unsigned Cfsr() { return Word(0xe000ed28); }
  unsigned Hfsr() { return Word(0xe000ed2c); }
  unsigned Icsr() { return Word(0xe000ed04); }

  TestMcu mcu;
  Interrupts& interrupts = mcu.interrupts();
  Registers& registers = mcu.registers();
};

}  // namespace orvo
