// Registers and a current instruction without a chip around them.
#pragma once

#include <gtest/gtest.h>

#include "core/globals.h"
#include "core/registers.h"

namespace orvo {

class CoreState : public testing::Test {
 protected:
  CoreState() {
    registers_ = &registers;
    current_instruction_ = &instruction_slot;
    Interrupts::mode_ = kThreadMode;
  }
  ~CoreState() override {
    registers_ = nullptr;
    current_instruction_ = nullptr;
    Interrupts::mode_ = kThreadMode;
  }

  Registers registers;
  my_insn_t instruction;
  my_insn_t* instruction_slot = &instruction;
};

}  // namespace orvo
