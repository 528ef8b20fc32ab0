// The simulated chip as one object: registers, address space, exceptions, clocks, and the links to
// the control connection, the wires and the scenario.
#pragma once

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <nlohmann/json_fwd.hpp>
#include <ostream>
#include <string>
#include <vector>

#include "core/my_insn.h"
#include "core/registers.h"
#include "memory/memory.h"
#include "time/clock_manager.h"
#include "time/interrupts.h"
#include "time/tick_listener.h"

namespace orvo {

class ConnectionManager;
class DebuggingLocks;
class ScenarioFileHandler;
class SystemControlBlockHandler;
class WireManager;

class Mcu : public TickListener, public ClockManager {
 public:
  // Wires and connection may be null.
  Mcu(ScenarioFileHandler& scenario, WireManager* wires, ConnectionManager* connection);
  Mcu(const Mcu&) = delete;
  Mcu& operator=(const Mcu&) = delete;
  ~Mcu() override;

  // Takes a pause that was asked for.
  unsigned long OnTick(unsigned long tick) override;
  // Adds the chip's sections in the order of its memory map.
  virtual void CreateMemorySections() = 0;
  virtual void SetFrequency() {}
  virtual unsigned GetFlashOffset() const { return 0; }
  virtual unsigned GetSudoStartAddress() const { return 0; }
  virtual Clock* GetSysTickExternalClock();
  // Creates sections and board components; families extend it.
  virtual void start();
  // Keeps a device of the board for as long as the chip lives; returns it.
  Peripheral* AddDevice(std::unique_ptr<Peripheral> device);

  // Memory, then stack pointer and pc from the vector table, then registers and exceptions.
  void Reset(ResetType type);
  std::string GetName() const;
  ConnectionManager* GetConnectionManager() const { return connection_; }
  WireManager* GetWireManager() const { return wires_; }
  ScenarioFileHandler& GetScenario() const { return scenario_; }
  SourceClock& clock() { return *clock_; }
  Registers& registers() { return registers_; }
  Memory& memory() { return memory_; }
  Interrupts& interrupts() { return *interrupts_; }

  bool isPending(int interrupt_number) const;
  void setEnabled(int interrupt_number, bool enabled);
  void ReloadInterrupts(unsigned vector_table_base);
  // Registers, then every section: the dump at a stop point.
  void serializeToFile(std::ostream* stream);
  unsigned GetProgramFlashSizeKB() const;
  bool IsPrevilegedMode() const { return registers_.IsPrivileged(); }
  bool IsVFPEnabled();

  // Nanoseconds of virtual time: truncated; since SetRelativeTime(); in double precision.
  unsigned long GetTimeNs() const;
  unsigned long GetTimeNsRelative() const;
  void SetRelativeTime();
  double GetDeviceTime() const;
  // On standard output: minutes, seconds and microseconds of a 64 MHz clock, "0:01.500000".
  void PrintCPUTime() const;

  // The flags of these are all that other threads touch; the pause itself is taken on the
  // simulation thread, between two instructions. `respond`: the client waits for an answer.
  void Stop();
  void PauseCommand(bool respond);
  void Resume(bool respond);
  void InternalResume(bool respond);
  void PausedMcyByDebugger();
  void ResumeMcuByDebugger();
  bool IsPauseState() const;
  // Asks for OnTick at the next step of the clock.
  void AttachToTick();
  // Who may touch the chip while it stands; null for none. Not while the run loop runs.
  void SetDebugger(DebuggingLocks* debugger) { debugger_ = debugger; }
  // Returns when the pause is over. The clock stands, but what is due at its tick is served.
  void Pause();
  // Has a standing pause look at once for what is due, rather than within its poll interval. Any
  // thread.
  void LookUpFromPause();

  // Services of the instructions bkpt, wfe and sev.
  void Bkpt(unsigned long value);
  // Lets time pass without instructions until an event happened or the run is stopped.
  void WaitForEvent();
  // Whether the core waits in WaitForEvent(). Simulation thread.
  bool IsAsleep() const { return asleep_; }
  void SendEvent();
  void SetEventHappened(bool happened) { event_happened_ = happened; }

  void SendMcuInterruptPacket(const std::string& name);
  void SendMcuResumedPacket(bool respond);

  // The frame of exception entry and return (ARMv7-M ARM, B1.5.6), without floating point.
  // Both move the stack pointer in use.
  void pushValueToStack(unsigned value);
  unsigned popValueFromStack();
  // Stacks the frame of an exception of the priority and leaves the EXC_RETURN value in lr.
  void backupRegisters(int priority);
  // Unstacks it; CONTROL.FPCA becomes `floating_point`.
  void restoreRegisters(bool floating_point);

  // The slots that the decode tables live in; core/ fills them, the run loop reads them.
  my_insn_t* current_instruction = nullptr;
  Function* pc_offset_2_arm_function = nullptr;
  my_insn_t* pc_offset_2_my_insn_struct = nullptr;
  // Where instructions leave the next one to the run loop, --pc-pos; all ones for nowhere.
  unsigned stop_pc = ~0u;

 protected:
  void SetInterrupts(std::unique_ptr<Interrupts> interrupts) {
    interrupts_ = std::move(interrupts);
  }
  // Gives the section the size in bytes that the key of the chip's configuration names, if it does.
  // Throws UserError for a size that reaches into the next section or that the host can't hold.
  void ResizeFromConfiguration(const char* section, const char* key);

 private:
  unsigned ExceptionReturnValue() const;
  unsigned long NanosecondsOf(unsigned long ticks) const;
  void SendEventPacket(const nlohmann::json& event);
  void SendResponse(const nlohmann::json& response);
  void SendMcuStoppedPacket();
  void SendMcuResumedPackets(unsigned responses);
  void AnswerWhatIsOver();
  void WaitInPause();

  SourceClock* clock_;
  Registers registers_;
  Memory memory_;
  std::unique_ptr<Interrupts> interrupts_;
  ConnectionManager* connection_;
  WireManager* wires_;
  DebuggingLocks* debugger_ = nullptr;
  ScenarioFileHandler& scenario_;
  bool event_happened_ = false;
  bool asleep_ = false;
  std::atomic<bool> pause_requested_{false};
  std::atomic<bool> paused_by_debugger_{false};
  std::atomic<bool> stop_requested_{false};
  std::atomic<bool> respond_on_pause_{false};
  std::atomic<unsigned> responses_on_resume_{0};
  std::atomic<bool> tick_attached_{false};
  unsigned long relative_time_origin_ticks_ = 0;
  std::atomic<bool> standing_{false};          // inside Pause()
  std::atomic<bool> stopped_told_{false};      // the last event was "stopped", not "resumed"
  unsigned pause_poll_interval_us_ = 100'000;  // host time
  std::mutex pause_mutex_;
  std::condition_variable pause_cv_;
  bool look_up_from_pause_ = false;           // guarded by pause_mutex_
  SystemControlBlockHandler* scb_ = nullptr;  // looked up at the first sev
  std::vector<std::unique_ptr<Peripheral>> devices_;
};

}  // namespace orvo
