#include "peripherals/nrf52/ppi_handler.h"

#include <bit>
#include <iterator>

#include "peripherals/nrf52/nrf52_handler.h"
#include "runner/errors.h"
#include "runner/text.h"

namespace orvo {

namespace {

// Deliberate: the chip takes one cycle of 16 MHz. In ticks of the main clock, from the first event
// of a pass.
constexpr unsigned long kDelayTicks = 6;
constexpr unsigned kFirstFixedChannel = 20;
// Far more than 32 channels cause without going in a circle.
constexpr unsigned kMostChannelRunsPerPass = 1u << 16;

constexpr unsigned EepOf(unsigned channel) { return Nrf52PPI::CH_EEP + 8 * channel; }
constexpr unsigned TepOf(unsigned channel) { return Nrf52PPI::CH_TEP + 8 * channel; }
constexpr unsigned ForkOf(unsigned channel) { return Nrf52PPI::FORK_TEP + 4 * channel; }

struct FixedChannel {
  unsigned event;
  unsigned task;
};

// "Pre-programmed channels", the same in both chips.
// clang-format off
constexpr FixedChannel kFixedChannels[] = {
    {0x40008140, 0x40001000},  // 20  TIMER0 COMPARE[0]  RADIO TXEN
    {0x40008140, 0x40001004},  // 21  TIMER0 COMPARE[0]  RADIO RXEN
    {0x40008144, 0x40001010},  // 22  TIMER0 COMPARE[1]  RADIO DISABLE
    {0x40001128, 0x4000F000},  // 23  RADIO BCMATCH      AAR START
    {0x40001100, 0x4000F000},  // 24  RADIO READY        CCM KSGEN
    {0x40001104, 0x4000F004},  // 25  RADIO ADDRESS      CCM CRYPT
    {0x40001104, 0x40008044},  // 26  RADIO ADDRESS      TIMER0 CAPTURE[1]
    {0x4000110C, 0x40008048},  // 27  RADIO END          TIMER0 CAPTURE[2]
    {0x4000B140, 0x40001000},  // 28  RTC0 COMPARE[0]    RADIO TXEN
    {0x4000B140, 0x40001004},  // 29  RTC0 COMPARE[0]    RADIO RXEN
    {0x4000B140, 0x4000800C},  // 30  RTC0 COMPARE[0]    TIMER0 CLEAR
    {0x4000B140, 0x40008000},  // 31  RTC0 COMPARE[0]    TIMER0 START
};
// clang-format on
static_assert(kFirstFixedChannel + std::size(kFixedChannels) == PPIHandler::kChannels);

}  // namespace

// --- Channel enable ------------------------------------------------------------------------------

void PPIHandler::SetChenInternal(unsigned value) {
  MemorySection::set(CHEN, value);
  MemorySection::set(CHENSET, value);
  MemorySection::set(CHENCLR, value);
}

void PPIHandler::set_CHEN(unsigned, unsigned value) { SetChenInternal(value); }

void PPIHandler::set_CHENSET(unsigned, unsigned value) {
  SetChenInternal(MemorySection::get(CHENSET) | value);
}

void PPIHandler::set_CHENCLR(unsigned, unsigned value) {
  SetChenInternal(MemorySection::get(CHEN) & ~value);
}

// Deliberate: the group tasks take any value, 0 too. A group may hold the fixed channels.
void PPIHandler::set_TASKS_CHG_EN(unsigned, unsigned index, unsigned) {
  SetChenInternal(MemorySection::get(CHEN) | MemorySection::get(CHG + 4 * index));
}

void PPIHandler::set_TASKS_CHG_DIS(unsigned, unsigned index, unsigned) {
  SetChenInternal(MemorySection::get(CHEN) & ~MemorySection::get(CHG + 4 * index));
}

void PPIHandler::set_CH_EEP(unsigned, unsigned index, unsigned value) {
  MemorySection::set(EepOf(index), value);
  if (MemorySection* source = mcu_->memory().FindSection(value)) source->SetEventObserver(this);
}

// --- Events and tasks ----------------------------------------------------------------------------

void PPIHandler::Update(std::vector<MemoryNotification>* events) {
  for (MemoryNotification& event : *events) UpdateOne(&event);
}

// Most stores are of 0: firmware clears an event.
void PPIHandler::UpdateOne(MemoryNotification* event) {
  if (event->value != 0) pending_.push_back(*event);
  if (!pending_.empty() && !scheduled_) Schedule();
}

void PPIHandler::Schedule() {
  scheduled_ = true;
  Clock& clock = mcu_->clock();
  clock.AttachToTick(clock.TickCount() + kDelayTicks, this, false);
}

unsigned long PPIHandler::OnTick(unsigned long) {
  // A task that changes CHEN counts from the next pass on.
  const unsigned enabled = MemorySection::get(CHEN);
  unsigned runs = 0;
  // By number: the tasks append to the list.
  for (size_t n = 0; n < pending_.size(); ++n) {
    const MemoryNotification event = pending_[n];
    // Deliberate: a store of exactly 1 is an event, by firmware too; other values are dropped.
    if (event.value != kGenerated) continue;
    runs += RunChannelsOf(event.address, enabled);
    if (runs > kMostChannelRunsPerPass) {
      throw OrvoError("PPI: channels trigger each other without end, last by the event at 0x" +
                      IntToHex(event.address));
    }
  }
  pending_.clear();
  scheduled_ = false;
  return 0;
}

unsigned PPIHandler::RunChannelsOf(unsigned event_address, unsigned enabled) {
  unsigned runs = 0;
  for (; enabled != 0; enabled &= enabled - 1) {
    const auto channel = static_cast<unsigned>(std::countr_zero(enabled));
    if (MemorySection::get(EepOf(channel)) != event_address) continue;
    const unsigned fork = MemorySection::get(ForkOf(channel));
    RunTask(MemorySection::get(TepOf(channel)));
    RunTask(fork);
    ++runs;
  }
  return runs;
}

// The MWU doesn't see it: it watches the processor.
void PPIHandler::RunTask(unsigned task_address) {
  if (task_address != 0) mcu_->memory().set<false>(task_address, kTrigger);
}

// Deliberate: events that wait outlive a reset. The next store into an observed section schedules
// them.
void PPIHandler::Reset(ResetType type) {
  scheduled_ = false;
  mcu_->clock().DetachFromTick(this);
  PeripheralMemory::Reset(type);
  for (unsigned n = 0; n < std::size(kFixedChannels); ++n) {
    const unsigned channel = kFirstFixedChannel + n;
    set_CH_EEP(EepOf(channel), channel, kFixedChannels[n].event);
    MemorySection::set(TepOf(channel), kFixedChannels[n].task);
  }
}

}  // namespace orvo
