// Writes of pc that may end an exception (ARMv7-M ARM, B1.5.8).
#pragma once

#include "core/globals.h"
#include "core/registers.h"
#include "time/interrupts.h"

namespace orvo {

// Exception return, if pc holds a return value. The test stands here so that ordinary returns of
// functions cost no call.
inline void ReturnFromExceptionIfNeeded() {
  if (registers_->pc() >> 28 == 0xf) interrupts_->ReturnFromInterruptIfNeeded();
}

// What follows a load of pc: exception return in handler mode; otherwise bit 0 has to ask for
// Thumb. pc stays as loaded, the run loop clears its bit 0.
inline void BXWritePC() {
  if (Interrupts::mode_ == kHandlerMode && registers_->pc() >> 28 == 0xf) {
    interrupts_->ReturnFromInterruptIfNeeded();
    return;
  }
  if ((registers_->pc() & 1u) == 0) {
    registers_->status() &= ~xpsr::kThumb;
    interrupts_->RaiseInterrupt(kUsageFault, true);
  }
}

}  // namespace orvo
