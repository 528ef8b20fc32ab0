// The commands of SUDO, its timers, and its two tasks.
#include "control/sudo_handler.h"

#include <iostream>
#include <utility>

#include "control/connection_manager.h"
#include "control/protocol.h"
#include "devices/gpio_port.h"
#include "mcu/mcu.h"
#include "runner/errors.h"
#include "runner/orvo_signals.h"
#include "time/virtual_time.h"
#include "wires/pin_manager.h"
#include "wires/wire_manager.h"

namespace orvo {

namespace {

constexpr char kPort[] = "P0";

// Clients send a whole number or, out of arithmetic of theirs, a fraction, which is dropped.
unsigned long Nanoseconds(const JsonPlace& command) {
  const JsonPlace place = command[kNanoSeconds];
  if (!place.value().is_number_float()) return place.Unsigned64();
  if (!(place.Number() >= 0)) place.Fail("a number that isn't negative");
  return TruncateToTicks(place.Number());
}

}  // namespace

SudoHandler::SudoHandler(Mcu* mcu, std::string name, unsigned start, unsigned size_bytes,
                         const InterruptMap& interrupts, const nlohmann::json& configuration)
    : ExternalSUDO(mcu, std::move(name), start, size_bytes, interrupts, configuration) {}

SudoHandler::~SudoHandler() = default;

// ---- Commands ----

const std::unordered_map<std::string, SudoHandler::Command>& SudoHandler::Commands() {
  static const std::unordered_map<std::string, Command> commands{
      {kStopAfterCommand, &SudoHandler::StopAfter},
      {kResume_Command, &SudoHandler::ResumeRunning},
      {kCancelStop, &SudoHandler::CancelStop},
      {kSetTimer, &SudoHandler::SetTimerCommand},
      {kGetState, &SudoHandler::GetState},
      {kGetDeviceTime, &SudoHandler::GetDeviceTime},
      {kTerminate, &SudoHandler::Terminate},
      {kPause, &SudoHandler::Pause},
      {kSetPinLevel, &SudoHandler::SetPinLevel},
      {kGetPinLevel, &SudoHandler::GetPinLevel},
      {kPauseAtEvent, &SudoHandler::PauseAtEvent},
      {kCancelTimer, &SudoHandler::CancelTimer},
      {kCancelPauseAtEvent, &SudoHandler::CancelPauseAtEvent},
  };
  return commands;
}

void SudoHandler::DoCommand(const nlohmann::json& command) {
  Peripheral::DoCommand(command);
  const std::string& name = JsonPlace(command, "command")[kCommand].String();
  const auto found = Commands().find(name);
  if (found == Commands().end()) {
    throw OrvoError("Unknown command type: " + name + " in Sudo");
  }
  (this->*found->second)(JsonPlace(command, "command " + name));
}

void SudoHandler::StopAfter(const JsonPlace& command) {
  const unsigned long nanoseconds = Nanoseconds(command);
  if (TicksIn(nanoseconds) != 0) {
    mcu_->clock().AttachToTime(nanoseconds, this);
    stop_pending_ = true;
  } else {
    mcu_->PauseCommand(false);
  }
  Respond({{kDescription, kOk}});
}

unsigned long SudoHandler::OnTick(unsigned long) {
  if (std::exchange(stop_pending_, false)) mcu_->PauseCommand(false);
  return 0;
}

void SudoHandler::ResumeRunning(const JsonPlace&) { mcu_->Resume(true); }

void SudoHandler::CancelStop(const JsonPlace&) {
  stop_pending_ = false;
  mcu_->clock().DetachFromTick(this);
  Respond({{kDescription, kCancelStopResponse}});
}

void SudoHandler::GetState(const JsonPlace&) {
  Respond({{kDescription, kEmulatorState},
           {kValue, mcu_->IsPauseState() ? kEmulatorStatePaused : kEmulatorStateRunning}});
}

void SudoHandler::GetDeviceTime(const JsonPlace&) {
  Respond({{kDescription, kDeviceTime}, {kValue, mcu_->GetDeviceTime()}});
}

void SudoHandler::Terminate(const JsonPlace&) { OrvoSignals::Get().terminate.emit(0); }

void SudoHandler::Pause(const JsonPlace&) { mcu_->PauseCommand(true); }

// The command itself is the table of pins: "pin_number" may be a wire, "vdd", "gnd", or the name of
// a pin of the board.
void SudoHandler::SetPinLevel(const JsonPlace& command) {
  const unsigned wire = Wires().GetPinWireOf(command, kPinNum);
  Wires().SetWireLevel(wire, command[kPinLevel].Level(), wire, false, nullptr, false);
}

void SudoHandler::GetPinLevel(const JsonPlace& command) {
  const unsigned wire = Wires().GetPinWireOf(command, kPinNum);
  Respond({{kDescription, kValueResponse}, {kValue, Wires().GetWireLevel(wire)}});
}

// A pin in the pattern may have the same forms as in the commands above; the events know its wire.
void SudoHandler::PauseAtEvent(const JsonPlace& command) {
  const JsonPlace event = command[kEvent];
  nlohmann::json pattern = event.Object();
  if (event.Has(kPinNum)) pattern[kPinNum] = Wires().GetPinWireOf(event, kPinNum);
  ConnectionManager* connection = mcu_->GetConnectionManager();
  if (connection == nullptr) return;
  const int number = connection->event_triggers().Add(pattern);
  Respond({{kDescription, kPauseAtEvent}, {kTriggerID, number}, {kEvent, std::move(pattern)}});
}

void SudoHandler::CancelPauseAtEvent(const JsonPlace& command) {
  ConnectionManager* connection = mcu_->GetConnectionManager();
  if (connection != nullptr) connection->event_triggers().Remove(command[kTriggerID].Int32());
  Respond({{kDescription, kPauseAtEventCanceled}});
}

// ---- Timers ----

// Answers for a timer that has run out too: the client can't know yet.
void SudoHandler::CancelTimer(const JsonPlace& command) {
  const auto running = running_timers_.find(command[kTimerID].Int32());
  if (running != running_timers_.end()) {
    mcu_->clock().DetachFromTick(running->second.get());
    free_timers_.push_back(std::move(running->second));
    running_timers_.erase(running);
  }
  Respond({{kDescription, kTimerCanceled}});
}

void SudoHandler::SetTimerCommand(const JsonPlace& command) {
  const unsigned long nanoseconds = Nanoseconds(command);
  const int id = next_timer_id_;
  SetTimer(nanoseconds, id);
  Respond({{kDescription, kSetTimer}, {kTimerID, id}, {kTicks, TicksIn(nanoseconds)}});
  ++next_timer_id_;
}

void SudoHandler::SetTimer(unsigned long nanoseconds, int id) {
  if (running_timers_.contains(id)) {
    throw OrvoError("Can't set timer twice by same id: " + std::to_string(id) + " in Sudo");
  }
  std::unique_ptr<Timer> timer;
  if (free_timers_.empty()) {
    timer = std::make_unique<Timer>(this);
  } else {
    timer = std::move(free_timers_.front());
    free_timers_.pop_front();
  }
  timer->SetId(id);
  mcu_->clock().AttachToTime(nanoseconds, timer.get());
  running_timers_.emplace(id, std::move(timer));
}

unsigned long SudoHandler::Timer::OnTick(unsigned long) {
  owner_->TimerNotify(this);
  return 0;
}

void SudoHandler::TimerNotify(Timer* timer) {
  mcu_->PauseCommand(false);
  SendTimerNotify(timer->GetId());
  const auto running = running_timers_.find(timer->GetId());
  free_timers_.push_back(std::move(running->second));
  running_timers_.erase(running);
}

void SudoHandler::SendTimerNotify(int id) { SendEvent({{kDescription, kTimerID}, {kValue, id}}); }

// ---- Tasks ----

void SudoHandler::set_TASKS_APPLY_PIN(unsigned, unsigned value) {
  if (value == 0) return;
  const unsigned pin = MemorySection::get(GPIO_PIN);
  const bool level = MemorySection::get(GPIO_VALUE) != 0;
  auto* port = dynamic_cast<GpioPort*>(mcu_->memory().GetSectionByName(kPort));
  if (port == nullptr) {
    throw OrvoError(std::string("SUDO can't force a pin: section ") + kPort +
                    " is no model of a GPIO port");
  }
  PinManager& pins = port->pin_manager();
  if (pin >= pins.PinCount()) {
    throw UserError("SUDO can't force pin " + std::to_string(pin) + ": port " + kPort + " has " +
                    std::to_string(pins.PinCount()) + " pins");
  }
  pins.ForcePinLeveL(pin, level);
}

void SudoHandler::set_TASKS_EXIT(unsigned, unsigned value) {
  if (value == 0) return;
  const unsigned code = MemorySection::get(EXIT_CODE);
  SendEvent({{kDescription, kSudoExit}, {kValue, code}});
  const ConnectionManager* connection = mcu_->GetConnectionManager();
  if (connection == nullptr || !connection->HasClient()) {
    std::cerr << "Warning: the firmware exits with code " << code
              << ": the run is paused until a client resumes it" << std::endl;
  }
  mcu_->PauseCommand(false);
}

// ---- The rest of the system ----

void SudoHandler::Respond(nlohmann::json reply) {
  reply[kType] = kResponse;
  if (ConnectionManager* connection = mcu_->GetConnectionManager()) {
    connection->SendJsonMessage(reply);
  }
}

void SudoHandler::SendEvent(const nlohmann::json& event) {
  if (ConnectionManager* connection = mcu_->GetConnectionManager()) {
    connection->SendJsonEvent(event);
  }
}

WireManager& SudoHandler::Wires() const {
  if (mcu_->GetWireManager() == nullptr) throw OrvoError("SUDO: the chip has no wires");
  return *mcu_->GetWireManager();
}

unsigned long SudoHandler::TicksIn(unsigned long nanoseconds) const {
  return TicksFromNanoseconds(nanoseconds, mcu_->clock().GetFrequency());
}

}  // namespace orvo
