// SUDO: the block that exists only in the simulated chip. The control connection's commands for the
// chip as a whole end here, and firmware built for the simulator forces a pin or ends the run.
#pragma once

#include <deque>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <unordered_map>

#include "config/json_place.h"
#include "control/external_sudo.h"
#include "time/tick_listener.h"

namespace orvo {

class WireManager;

class SudoHandler : public ExternalSUDO, public TickListener {
 public:
  SudoHandler(Mcu* mcu, std::string name, unsigned start, unsigned size_bytes,
              const InterruptMap& interrupts, const nlohmann::json& configuration);
  ~SudoHandler() override;

  // Throws OrvoError for an unknown command and UserError for a malformed one.
  void DoCommand(const nlohmann::json& command) override;
  // The end of "stop_after".
  unsigned long OnTick(unsigned long tick) override;

  // Pauses the run after a span of virtual time. Throws OrvoError while a timer of this id runs.
  void SetTimer(unsigned long nanoseconds, int id);

  // Both do nothing for a value of 0. The first throws OrvoError if the chip has no model of its
  // port 0. The second pauses the run and reports; a client's "terminate" then ends it.
  void set_TASKS_APPLY_PIN(unsigned offset, unsigned value) override;
  void set_TASKS_EXIT(unsigned offset, unsigned value) override;

 private:
  class Timer : public TickListener {
   public:
    explicit Timer(SudoHandler* owner) : owner_(owner) {}
    void SetId(int id) { id_ = id; }
    int GetId() const { return id_; }
    unsigned long OnTick(unsigned long tick) override;

   private:
    SudoHandler* owner_;
    int id_ = 0;
  };

  using Command = void (SudoHandler::*)(const JsonPlace& command);
  static const std::unordered_map<std::string, Command>& Commands();

  void StopAfter(const JsonPlace& command);
  void ResumeRunning(const JsonPlace& command);
  void CancelStop(const JsonPlace& command);
  void SetTimerCommand(const JsonPlace& command);
  void GetState(const JsonPlace& command);
  void GetDeviceTime(const JsonPlace& command);
  void Terminate(const JsonPlace& command);
  void Pause(const JsonPlace& command);
  void SetPinLevel(const JsonPlace& command);
  void GetPinLevel(const JsonPlace& command);
  void PauseAtEvent(const JsonPlace& command);
  void CancelPauseAtEvent(const JsonPlace& command);
  void CancelTimer(const JsonPlace& command);

  void TimerNotify(Timer* timer);
  void SendTimerNotify(int id);
  // Adds the type to a reply and sends it.
  void Respond(nlohmann::json reply);
  void SendEvent(const nlohmann::json& event);
  WireManager& Wires() const;
  unsigned long TicksIn(unsigned long nanoseconds) const;

  static inline int next_timer_id_ = 0;
  bool stop_pending_ = false;
  std::unordered_map<int, std::unique_ptr<Timer>> running_timers_;
  std::deque<std::unique_ptr<Timer>> free_timers_;
};

}  // namespace orvo
