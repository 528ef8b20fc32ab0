// Values that the board puts into the memory of a started chip.
#include <algorithm>
#include <cctype>
#include <typeinfo>

#include "config/configuration_file_handler.h"
#include "mcu/mcu.h"
#include "peripherals/nrf52/registers/nrf52_radio.h"
#include "runner/errors.h"
#include "runner/text.h"

namespace orvo {

namespace {

// nRF52832 Product Specification, FICR: DEVICEADDR[0] and DEVICEADDR[1].
constexpr unsigned kDeviceAddressLow = 0x100000A4;
constexpr unsigned kDeviceAddressHigh = 0x100000A8;
constexpr size_t kMacDigits = 12;
constexpr size_t kMacHighDigits = 4;

}  // namespace

void ConfigurationFileHandler::SetMcuMemoryValues(Mcu* mcu, const std::string& name) const {
  const JsonPlace config = McuConfigPlace();
  const std::string key = "load_" + name + "_regs";
  if (config.Has(key)) {
    const JsonPlace registers = config[key];
    registers.Array();
    if (registers.HasProblems()) return;
    for (const JsonPlace& entry : registers.Elements()) {
      const unsigned address = entry["address"].Unsigned32();
      const unsigned value = entry["value"].Unsigned32();
      const bool mapped = mcu->memory().FindSection(address) != nullptr;
      if (!mapped && entry.problems() != nullptr) {
        entry["address"].Report("0x" + IntToHex(address) + " is outside the chip's memory map");
      } else if (!entry.HasProblems()) {
        mcu->memory().set<false>(address, value);
      }
    }
  }
  if (name == "ficr") SetFicrValues(mcu);
}

void ConfigurationFileHandler::SetFicrValues(Mcu* mcu) const {
  const JsonPlace config = McuConfigPlace();
  if (!config.Has("ficr") || !config["ficr"].Has("mac_address")) return;
  const JsonPlace place = config["ficr"]["mac_address"];
  std::string digits = place.String();
  if (place.HasProblems()) return;
  std::erase(digits, ':');
  const bool hexadecimal = std::all_of(digits.begin(), digits.end(),
                                       [](unsigned char c) { return std::isxdigit(c) != 0; });
  if (digits.size() != kMacDigits || !hexadecimal) {
    place.ReportExpected("six pairs of hexadecimal digits with colons between");
    return;
  }
  mcu->memory().set<false>(kDeviceAddressLow, HexToInt(digits.substr(kMacHighDigits)));
  mcu->memory().set<false>(kDeviceAddressHigh, HexToInt(digits.substr(0, kMacHighDigits)));
}

void ConfigurationFileHandler::ConnectPeripheralsForNrf52(Mcu* mcu) const {
  if (mcu->GetName().find("nrf52") == std::string::npos) return;
  const JsonPlace config = McuConfigPlace();
  if (config.Has("radio") && !config["radio"].HasProblems()) {
    MemorySection* radio = mcu->memory().GetSectionByName("RADIO");
    if (typeid(*radio) == typeid(Nrf52RADIO)) {
      config["radio"].Report(file_ + ": Mcu config.radio: the model of the radio is not built in");
    } else {
      radio->ApplyConfiguration(config["radio"].value());
    }
  }
  for (const char* name : {"ficr", "temp", "errate"}) SetMcuMemoryValues(mcu, name);
}

}  // namespace orvo
