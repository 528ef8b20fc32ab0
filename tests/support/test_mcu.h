// The smallest chip on which blocks can be tested: flash at 0, RAM, the system control block, and
// the core clock at 64 MHz. start() isn't called: no board configuration is needed.
#pragma once

#include <memory>

#include "config/scenario_file_handler.h"
#include "mcu/mcu.h"
#include "time/system_control_block_handler.h"

namespace orvo {

// A base class, so that the scenario exists before the Mcu that refers to it.
struct TestMcuScenario {
  ScenarioFileHandler test_scenario;
};

class TestInterrupts : public Interrupts {
 public:
  using Interrupts::Interrupts;

  // Interrupt n is called "IRQ" and n.
  void LoadInterrupts(unsigned vector_table_base) override {
    Interrupts::LoadInterrupts(vector_table_base);
    for (int number = 0; number < external_count(); ++number) {
      AddExternal(number, ("IRQ" + std::to_string(number)).c_str());
    }
  }
};

class TestMcu : private TestMcuScenario, public Mcu {
 public:
  static constexpr unsigned kFlashSizeBytes = 0x10000;
  static constexpr unsigned kRamStart = 0x20000000;
  static constexpr unsigned kRamSizeBytes = 0x10000;
  static constexpr int kExternalInterrupts = 45;

  explicit TestMcu(WireManager* wires = nullptr, ConnectionManager* connection = nullptr)
      : Mcu(test_scenario, wires, connection) {
    Interrupts::mode_ = kThreadMode;  // shared by all chips of the process
    SetInterrupts(std::make_unique<TestInterrupts>(this, kExternalInterrupts));
    clock().SetFrequency(64'000'000);
    CreateMemorySections();
    interrupts().LoadInterrupts(0);
  }

  void CreateMemorySections() override {
    memory().AddSection(new PlainSection(this, "Flash", 0, kFlashSizeBytes));
    memory().AddSection(new PlainSection(this, "Data RAM", kRamStart, kRamSizeBytes));
    auto* block = new SystemControlBlockHandler(
        this, SystemControlBlockHandler::kSectionName, SystemControlBlockHandler::kStart,
        SystemControlBlockHandler::kSizeBytes, InterruptMap(), nlohmann::json());
    block->SetResetValues(SystemControlBlockHandler::reset_values());
    memory().AddSection(block);
  }

  SystemControlBlockHandler& scb() {
    return *memory().GetSectionByName<SystemControlBlockHandler>(
        SystemControlBlockHandler::kSectionName);
  }

  // Whether the latch of wfe was set: then no time passes. Clears it.
  bool TakeEvent() {
    struct Alarm : TickListener {
      explicit Alarm(Mcu* mcu) : mcu_(mcu) {}
      unsigned long OnTick(unsigned long) override {
        mcu_->SetEventHappened(true);
        return 0;
      }
      Mcu* mcu_;
    } alarm(this);
    const unsigned long tick = clock().ticks();
    clock().AttachToTick(tick + 1, &alarm, false);
    WaitForEvent();
    clock().DetachFromTick(&alarm);
    SetEventHappened(false);
    return clock().ticks() == tick;
  }
};

}  // namespace orvo
