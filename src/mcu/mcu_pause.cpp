// How a run stands still: pauses of the control connection, of bkpt and of a debugger, and the
// sleep of wfe. Requests set flags from any thread; the pause is taken on the simulation thread.
#include <unistd.h>

#include <iostream>
#include <nlohmann/json.hpp>

#include "control/connection_manager.h"
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

void Mcu::SendMcuResumedPacket(bool respond) {
  if (respond) SendResponse({{kType, kResponse}, {kDescription, kResumed}});
  SendEventPacket({{kDescription, kResumed}});
}

// --- Pause ---------------------------------------------------------------------------------------

void Mcu::Stop() {
  logger::debug("Mcu") << "stop";
  stop_requested_ = true;
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
    if (IsPauseState() || respond_on_pause_ || respond_on_resume_) Pause();
    tick_attached_ = false;
    // A pause that was asked for between these two found the Mcu attached still: it is taken here.
  } while (IsPauseState() && !stop_requested_ && !tick_attached_.exchange(true));
  return 0;
}

void Mcu::PauseCommand(bool respond) {
  if (!IsPauseState()) {
    respond_on_pause_ = respond;
    pause_requested_ = true;
    AttachToTick();
  } else if (respond) {
    SendResponse(PausedResponse());
  }
}

void Mcu::Pause() {
  clock_->CalcNextTick();
  if (respond_on_pause_.exchange(false)) SendResponse(PausedResponse());
  SendEventPacket({{kDescription, "stopped"}});
  while (IsPauseState() && !stop_requested_) {
    usleep(pause_poll_interval_us_);
    clock_->HandleTickListeners();
  }
  if (stop_requested_) return;
  SendMcuResumedPacket(respond_on_resume_.exchange(false));
}

void Mcu::Resume(bool respond) {
  InternalResume(respond);
  pause_requested_ = false;
}

void Mcu::InternalResume(bool respond) {
  if (IsPauseState()) {
    respond_on_resume_ = respond;
  } else {
    SendMcuResumedPacket(respond);
  }
}

void Mcu::PausedMcyByDebugger() {
  paused_by_debugger_ = true;
  AttachToTick();
}

void Mcu::ResumeMcuByDebugger() {
  InternalResume(respond_on_resume_);
  paused_by_debugger_ = false;
}

// --- Instructions --------------------------------------------------------------------------------

void Mcu::Bkpt(unsigned long value) {
  SendEventPacket({{kDescription, kBkpt}, {kValue, std::to_string(value)}});
  if (connection_ == nullptr || !connection_->HasClient()) {
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
  while (!event_happened_ && !stop_requested_) clock_->Tickrement(1);
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
