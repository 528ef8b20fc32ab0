#include "peripherals/nrf52/mwu_handler.h"

namespace orvo {

namespace {

constexpr unsigned kRegions = 4;
constexpr unsigned kPeripheralRegions = 2;
constexpr unsigned kPeripheralStart = 0x40000000;
constexpr unsigned kSubregionBytes = 0x1000;
constexpr unsigned kSubregions = 32;  // of a peripheral region
constexpr unsigned kPeripheralRegionBytes = kSubregions * kSubregionBytes;

// Offsets of an event pair: writes, then reads.
constexpr unsigned EventOf(unsigned write_event, unsigned index, bool is_write) {
  return write_event + 8 * index + (is_write ? 0 : 4);
}

// REGIONEN has the bits of the interrupts: a write and a read bit for each region.
constexpr unsigned EnableBits(unsigned write_event, unsigned index) {
  return InterruptBit(EventOf(write_event, index, true)) |
         InterruptBit(EventOf(write_event, index, false));
}

constexpr unsigned StartOf(unsigned index) { return Nrf52MWU::REGION_START + 16 * index; }
constexpr unsigned EndOf(unsigned index) { return Nrf52MWU::REGION_END + 16 * index; }
constexpr unsigned SubsOf(unsigned index) { return Nrf52MWU::PREGION_SUBS + 16 * index; }

}  // namespace

// --- Enables -------------------------------------------------------------------------------------

void MWUHandler::set_INTEN(unsigned, unsigned value) { StoreInterruptEnable(value); }

void MWUHandler::StoreNmiEnable(unsigned value) {
  for (const unsigned mirror : {NMIEN, NMIENSET, NMIENCLR}) MemorySection::set(mirror, value);
}

void MWUHandler::set_NMIEN(unsigned, unsigned value) { StoreNmiEnable(value); }

void MWUHandler::set_NMIENSET(unsigned, unsigned value) {
  StoreNmiEnable(MemorySection::get(NMIEN) | value);
}

void MWUHandler::set_NMIENCLR(unsigned, unsigned value) {
  StoreNmiEnable(MemorySection::get(NMIEN) & ~value);
}

void MWUHandler::StoreRegionEnable(unsigned value) {
  for (const unsigned mirror : {REGIONEN, REGIONENSET, REGIONENCLR}) {
    MemorySection::set(mirror, value);
  }
  ObserveSections();
}

void MWUHandler::set_REGIONEN(unsigned, unsigned value) { StoreRegionEnable(value); }

void MWUHandler::set_REGIONENSET(unsigned, unsigned value) {
  StoreRegionEnable(MemorySection::get(REGIONEN) | value);
}

void MWUHandler::set_REGIONENCLR(unsigned, unsigned value) {
  StoreRegionEnable(MemorySection::get(REGIONEN) & ~value);
}

// --- Regions -------------------------------------------------------------------------------------

void MWUHandler::set_REGION_START(unsigned offset, unsigned, unsigned value) {
  MemorySection::set(offset, value);
  ObserveSections();
}

void MWUHandler::set_REGION_END(unsigned offset, unsigned, unsigned value) {
  MemorySection::set(offset, value);
  ObserveSections();
}

void MWUHandler::set_PREGION_SUBS(unsigned offset, unsigned, unsigned value) {
  MemorySection::set(offset, value);
  ObserveSections();
}

void MWUHandler::ObserveSections() {
  for (MemorySection* section : mcu_->memory().GetSections()) {
    const bool watched = Watches(*section);
    const bool observed = section->access_observer() == this;
    if (watched != observed) section->SetAccessObserver(watched ? this : nullptr);
  }
}

bool MWUHandler::Watches(const MemorySection& section) {
  if (section.size() == 0) return false;
  const unsigned first = section.start();
  const unsigned last = section.end() - 1;
  const unsigned enabled = MemorySection::get(REGIONEN);
  for (unsigned n = 0; n < kRegions; ++n) {
    if ((enabled & EnableBits(EVENTS_REGION_WA, n)) != 0 && first <= MemorySection::get(EndOf(n)) &&
        MemorySection::get(StartOf(n)) <= last) {
      return true;
    }
  }
  // A peripheral's section begins with its subregion.
  const unsigned region = (first - kPeripheralStart) / kPeripheralRegionBytes;
  const unsigned subregion = (first - kPeripheralStart) / kSubregionBytes % kSubregions;
  return region < kPeripheralRegions && (enabled & EnableBits(EVENTS_PREGION_WA, region)) != 0 &&
         (MemorySection::get(SubsOf(region)) >> subregion & 1u) != 0;
}

// --- Accesses ------------------------------------------------------------------------------------

void MWUHandler::Update(std::vector<MemoryNotification>* accesses) {
  for (MemoryNotification& access : *accesses) UpdateOne(&access);
}

void MWUHandler::UpdateOne(MemoryNotification* access) {
  const bool is_write = access->is_write != 0;
  const unsigned enabled = MemorySection::get(REGIONEN);
  for (unsigned n = 0; n < kRegions; ++n) {
    const unsigned event = EventOf(EVENTS_REGION_WA, n, is_write);
    if ((enabled & InterruptBit(event)) != 0 && MemorySection::get(StartOf(n)) <= access->address &&
        access->address <= MemorySection::get(EndOf(n))) {
      Report(event);
    }
  }
  const unsigned region = (access->address - kPeripheralStart) / kPeripheralRegionBytes;
  if (region >= kPeripheralRegions) return;
  const unsigned event = EventOf(EVENTS_PREGION_WA, region, is_write);
  const unsigned subregion = (access->address - kPeripheralStart) / kSubregionBytes % kSubregions;
  if ((enabled & InterruptBit(event)) == 0 ||
      (MemorySection::get(SubsOf(region)) >> subregion & 1u) == 0) {
    return;
  }
  TurnOnBitReg(EventOf(PERREGION_SUBSTATWA, region, is_write), subregion);
  Report(event);
}

void MWUHandler::Report(unsigned event_offset) {
  Generate(event_offset);
  if ((MemorySection::get(NMIEN) & InterruptBit(event_offset)) != 0) {
    mcu_->interrupts().RaiseInterrupt(kNmi, true);
  }
}

void MWUHandler::Reset(ResetType type) {
  PeripheralMemory::Reset(type);
  ObserveSections();
}

}  // namespace orvo
