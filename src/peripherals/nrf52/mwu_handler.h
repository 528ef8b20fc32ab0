// nRF52 MWU, the memory watch unit. Source: nRF52832 Product Specification, MWU.
// Four regions of any size, and the peripherals' space as two regions of 32 subregions of 4 KB.
// Hears the accesses of the firmware's instructions to the sections that an enabled region touches;
// other sections keep their speed. An access counts by its first byte.
// Not modelled: accesses by EasyDMA.
#pragma once

#include <vector>

#include "memory/observer.h"
#include "peripherals/nrf52/nrf52_handler.h"
#include "peripherals/nrf52/registers/nrf52_mwu.h"

namespace orvo {

class MWUHandler : public Nrf52Handler<Nrf52MWU>, public Observer<MemoryNotification> {
 public:
  using Nrf52Handler::Nrf52Handler;

  void set_INTEN(unsigned offset, unsigned value) override;
  void set_NMIEN(unsigned offset, unsigned value) override;
  void set_NMIENSET(unsigned offset, unsigned value) override;
  void set_NMIENCLR(unsigned offset, unsigned value) override;
  void set_REGIONEN(unsigned offset, unsigned value) override;
  void set_REGIONENSET(unsigned offset, unsigned value) override;
  void set_REGIONENCLR(unsigned offset, unsigned value) override;
  void set_REGION_START(unsigned offset, unsigned index, unsigned value) override;
  void set_REGION_END(unsigned offset, unsigned index, unsigned value) override;
  void set_PREGION_SUBS(unsigned offset, unsigned index, unsigned value) override;

  // Accesses to the observed sections.
  void Update(std::vector<MemoryNotification>* accesses) override;
  void UpdateOne(MemoryNotification* access) override;
  void Reset(ResetType type) override;

 private:
  void StoreNmiEnable(unsigned value);
  void StoreRegionEnable(unsigned value);
  // Observes the sections that enabled regions touch, and only those.
  void ObserveSections();
  bool Watches(const MemorySection& section);
  void Report(unsigned event_offset);
};

}  // namespace orvo
