// How a run stands still: pauses of the control connection, of bkpt and of a debugger, and the
// sleep of wfe. Requests set flags from any thread; the pause is taken on the simulation thread.
#include <chrono>
#include <iostream>
#include <nlohmann/json.hpp>

#include "control/connection_manager.h"
#include "control/debugging_locks.h"
#include "control/protocol.h"
#include "mcu/mcu.h"
#include "runner/args_manager.h"
#include "runner/logger.h"
#include "runner/text.h"
#include "time/scb_bits.h"
#include "time/system_control_block_handler.h"

namespace orvo {

namespace {

const nlohmann::json& PausedResponse() {
  static const nlohmann::json response = {
      {kType, kResponse}, {kDescription, kEmulatorState}, {kValue, kEmulatorStatePaused}};
  return response;
}

}  // namespace

// --- Packets -------------------------------------------------------------------------------------

void Mcu::SendEventPacket(const nlohmann::json& event) {
  if (connection_ != nullptr) connection_->SendJsonEvent(event);
}

void Mcu::SendResponse(const nlohmann::json& response) {
  if (connection_ != nullptr) connection_->SendJsonMessage(response);
}

// At every exception entry, so nothing is put together while nobody listens.
void Mcu::SendMcuInterruptPacket(const std::string& name) {
  if (connection_ == nullptr || !connection_->HasClient()) return;
  SendEventPacket({{kDescription, "interrupt"}, {kInterruptType, name}});
}

void Mcu::SendMcuResumedPacket(bool respond) { SendMcuResumedPackets(respond ? 1 : 0); }

void Mcu::SendMcuResumedPackets(unsigned responses) {
  stopped_told_ = false;
  for (; responses > 0; --responses) SendResponse({{kType, kResponse}, {kDescription, kResumed}});
  SendEventPacket({{kDescription, kResumed}});
}

void Mcu::SendMcuStoppedPacket() {
  stopped_told_ = true;
  if (respond_on_pause_.exchange(false)) SendResponse(PausedResponse());
  SendEventPacket({{kDescription, "stopped"}});
}

// --- Pause ---------------------------------------------------------------------------------------

void Mcu::Stop() {
  logger::debug("Mcu") << "stop";
  stop_requested_ = true;
  LookUpFromPause();
}

bool Mcu::IsPauseState() const {
  return pause_requested_ || (ArgsManager::Get().gdb && paused_by_debugger_);
}

void Mcu::AttachToTick() {
  if (tick_attached_.exchange(true)) return;
  clock_->AttachToTick(clock_->TickCount(), this, false);
}

unsigned long Mcu::OnTick(unsigned long) {
  do {
    // Not paused any more, if "resume_running" came at the same tick: both commands wait for their
    // answers.
    if (IsPauseState() || respond_on_pause_ || responses_on_resume_ != 0) Pause();
    tick_attached_ = false;
    // A pause that was asked for between these two found the Mcu attached still: it is taken here.
  } while (IsPauseState() && !stop_requested_ && !tick_attached_.exchange(true));
  return 0;
}

void Mcu::PauseCommand(bool respond) {
  if (IsPauseState()) {
    if (respond) SendResponse(PausedResponse());
    return;
  }
  AnswerWhatIsOver();
  respond_on_pause_ = respond;
  pause_requested_ = true;
  AttachToTick();
  if (standing_) SendMcuStoppedPacket();
}

// Commands of one tick may pause and resume several times, before the pause is taken or while it
// stands. Each is answered, and in its order.
void Mcu::AnswerWhatIsOver() {
  if (IsPauseState() || (!respond_on_pause_ && responses_on_resume_ == 0)) return;
  if (!stopped_told_) SendMcuStoppedPacket();
  SendMcuResumedPackets(responses_on_resume_.exchange(0));
}

void Mcu::Pause() {
  clock_->CalcNextTick();
  SendMcuStoppedPacket();
  standing_ = true;
  while (IsPauseState() && !stop_requested_) {
    if (debugger_ != nullptr) debugger_->BeginStanding();
    WaitInPause();
    if (debugger_ != nullptr) debugger_->EndStanding();
    clock_->HandleTickListeners();
  }
  standing_ = false;
  if (!stop_requested_ && stopped_told_) SendMcuResumedPackets(responses_on_resume_.exchange(0));
}

// The interval is only a safeguard: who queues something or ends the pause calls LookUpFromPause().
void Mcu::WaitInPause() {
  std::unique_lock lock(pause_mutex_);
  pause_cv_.wait_for(lock, std::chrono::microseconds(pause_poll_interval_us_),
                     [this] { return look_up_from_pause_; });
  look_up_from_pause_ = false;
}

void Mcu::LookUpFromPause() {
  const std::lock_guard lock(pause_mutex_);
  look_up_from_pause_ = true;
  pause_cv_.notify_one();
}

void Mcu::Resume(bool respond) {
  InternalResume(respond);
  pause_requested_ = false;
}

void Mcu::InternalResume(bool respond) {
  if (IsPauseState()) {
    if (respond) ++responses_on_resume_;
  } else {
    AnswerWhatIsOver();
    SendMcuResumedPacket(respond);
  }
}

void Mcu::PausedMcyByDebugger() {
  paused_by_debugger_ = true;
  AttachToTick();
}

void Mcu::ResumeMcuByDebugger() {
  if (!IsPauseState()) SendMcuResumedPacket(false);
  paused_by_debugger_ = false;
  LookUpFromPause();
}

// --- Instructions --------------------------------------------------------------------------------

void Mcu::Bkpt(unsigned long value) {
  SendEventPacket({{kDescription, kBkpt}, {kValue, std::to_string(value)}});
  const bool client_can_resume = connection_ != nullptr && connection_->HasClient();
  if (debugger_ != nullptr && !client_can_resume) return debugger_->PauseMcu();
  if (!client_can_resume) {
    std::cerr << "Warning: bkpt " << value << " at 0x" << IntToHex(registers_.pc())
              << ": the run is paused until a client resumes it" << std::endl;
  }
  pause_requested_ = true;
  AttachToTick();
}

void Mcu::WaitForEvent() {
  if (event_happened_) {
    event_happened_ = false;
    return;
  }
  // The latch stays as it is at the end: the next wfe consumes it.
  const unsigned pc = registers_.pc();  // a debugger that resets the chip moves it
  asleep_ = true;
  while (!event_happened_ && !stop_requested_ && registers_.pc() == pc) clock_->Tickrement(1);
  asleep_ = false;
}

// Deliberate: only SEVONPEND lets the instruction set the latch.
void Mcu::SendEvent() {
  if (scb_ == nullptr) {
    scb_ = memory_.GetSectionByName<SystemControlBlockHandler>(
        SystemControlBlockHandler::kSectionName);
  }
  if ((scb_->getCSR() & scb::kSevOnPend) != 0) event_happened_ = true;
}

}  // namespace orvo
