// A slave on an SPI bus that answers with what it gets, within the same transfer. Suits every mode
// up to 48 MHz, most significant bit first.
#pragma once

#include <vector>

#include "devices/external_peripheral_legacy.h"
#include "wires/spi_slave_base.h"

namespace orvo {

class EchoSpiSlave : public ExternalPeripheralLegacy {
 public:
  // The pins are "sclk" and, each optional, "mosi", "miso" and "ss".
  EchoSpiSlave(Mcu* mcu, WireManager& wires, const JsonPlace& component);

 private:
  std::vector<unsigned char> OnSpiMasterWrite(const std::vector<unsigned char>& data) const {
    return data;
  }

  SpiSlaveBase slave_;
};

}  // namespace orvo
