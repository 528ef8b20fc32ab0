// nRF52 PPI, the interconnect between events and tasks.
// Source: nRF52832 Product Specification, PPI.
// Sections whose events a channel names tell the block of every store; six ticks after the first of
// them the tasks run, and what they cause runs in the same tick.
#pragma once

#include <vector>

#include "memory/observer.h"
#include "peripherals/nrf52/registers/nrf52_ppi.h"
#include "time/tick_listener.h"

namespace orvo {

class PPIHandler : public Nrf52PPI, public Observer<MemoryNotification>, public TickListener {
 public:
  static constexpr unsigned kChannels = 32;

  using Nrf52PPI::Nrf52PPI;

  void set_CHEN(unsigned offset, unsigned value) override;
  void set_CHENSET(unsigned offset, unsigned value) override;
  void set_CHENCLR(unsigned offset, unsigned value) override;
  void set_TASKS_CHG_EN(unsigned offset, unsigned index, unsigned value) override;
  void set_TASKS_CHG_DIS(unsigned offset, unsigned index, unsigned value) override;
  // From now on the section of the address tells this block of its stores, for good.
  void set_CH_EEP(unsigned offset, unsigned index, unsigned value) override;

  // Stores into the observed sections.
  void Update(std::vector<MemoryNotification>* events) override;
  void UpdateOne(MemoryNotification* event) override;
  // Runs the tasks of all events that wait, and of those that they cause. Throws OrvoError if there
  // is no end of them.
  unsigned long OnTick(unsigned long tick) override;
  void Reset(ResetType type) override;

 private:
  void SetChenInternal(unsigned value);
  void Schedule();
  // Returns how many channels the event has among the enabled ones.
  unsigned RunChannelsOf(unsigned event_address, unsigned enabled);
  void RunTask(unsigned task_address);

  std::vector<MemoryNotification> pending_;  // first in, first out; emptied at the end of a pass
  bool scheduled_ = false;
};

}  // namespace orvo
