// The net of a board: numbered wires that carry a logic level and the bus data last sent.
// There is no contention: the last writer wins and owns the wire. Data is delivered to all
// receivers within the send call and stays in the wire's mailbox, where a sender finds the
// receiver's answer.
//
// One thread only, the simulation thread. Wire numbers are not checked at run time: GetPinWire() is
// the gate for those that a board names. A manager must outlive the observers attached to it.
#pragma once

#include <map>
#include <nlohmann/json_fwd.hpp>
#include <span>
#include <string>
#include <vector>

#include "wires/wire_observers.h"
#include "wires/wire_types.h"

namespace orvo {

class ConnectionManager;
class JsonPlace;

class WireManager {
 public:
  // The two wires outside the table, fixed for the life of the manager: their level and voltage can
  // be read; all else throws OrvoError or, where said, does nothing.
  static constexpr unsigned kVdd = 0xffffffff;
  static constexpr unsigned kGnd = 0xfffffffe;
  // Number of wires in the net of a board.
  static constexpr unsigned kWiresOfBoard = 200;
  // Volts of a high wire.
  static constexpr double kSupplyVoltage = 3.0;

  // print: every level event goes to standard output. quiet: nothing is reported to the control
  // connection, and nothing printed. The connection may be null.
  WireManager(ConnectionManager* connection, unsigned wires, bool print, bool quiet);
  WireManager(const WireManager&) = delete;
  WireManager& operator=(const WireManager&) = delete;

  // Applies the changes in order, then tells the observers of all changed wires and the control
  // connection. silent: nobody hears of it. source: the new owner of the wires, which doesn't hear
  // its own change. keep_driver: wires owned by somebody else stay as they are.
  void SetMultipleWireLevel(std::vector<WireChange>* changes, bool silent,
                            Observer<WireLogicLevelEvent>* source, bool keep_driver);
  void SetWireLevel(unsigned wire, bool level, unsigned pin, bool silent,
                    Observer<WireLogicLevelEvent>* source, bool keep_driver);
  // Output: the pin takes the wire and drives it, high if pull is kPullHigh, else low. Any other
  // direction: the pin gives the wire up if it owns it; the level stays. Ignored for vdd and gnd.
  void SetDirection(Observer<WireLogicLevelEvent>* source, unsigned wire, unsigned pin,
                    pin_direction_t direction, pin_pullup_t pull);
  // Output if source and pin own the wire, input if another does (and for vdd and gnd), analog if
  // nobody does.
  pin_direction_t GetPinDirectionOnWire(const Observer<WireLogicLevelEvent>* source, unsigned wire,
                                        unsigned pin) const;

  bool GetWireLevel(unsigned wire) const;
  double GetWireVoltage(unsigned wire) const;
  const std::vector<unsigned char>& GetWireData(unsigned wire) const;

  // Returns after all receivers have run. With a null source no receiver is left out.
  void SendDataOverWire(unsigned wire, unsigned pin, const unsigned char* data, unsigned long size,
                        Observer<WireDataEvent>* source);
  void SendDataOverWire(unsigned wire, unsigned pin, const std::vector<unsigned char>& data,
                        Observer<WireDataEvent>* source);

  // Levels and voltages share one list. On vdd and gnd these do nothing.
  void ConnectToWireLogicState(Observer<WireLogicLevelEvent>* observer, unsigned wire,
                               unsigned pin);
  void ConnectToWireVoltage(Observer<WireLogicLevelEvent>* observer, unsigned wire, unsigned pin);
  void DisconnectFromWireLogicState(Observer<WireLogicLevelEvent>* observer, unsigned wire,
                                    unsigned pin);
  // On vdd and gnd the first logs a line and returns, the second throws.
  void ConnectToWireData(Observer<WireDataEvent>* observer, unsigned wire, unsigned pin);
  void DisconnectFromWireData(Observer<WireDataEvent>* observer, unsigned wire, unsigned pin);
  // Ends all attachments of an observer that goes away.
  void Forget(const Observer<WireLogicLevelEvent>* observer);

  // Resolves a pin of the board configuration: `config` or its member "pins" gives a wire number,
  // "vdd", "gnd", or the name of a pin that was named before. Throws UserError for anything else.
  unsigned GetPinWire(const std::string& name, const nlohmann::json& config) const;
  // The same for a part of a document, which errors then name. Where they only are collected, the
  // answer is wire 0.
  unsigned GetPinWireOf(const JsonPlace& config, const std::string& name) const;
  // Throws UserError for a name that AddPinName() never gave.
  unsigned Pin2Wire(const std::string& name) const;
  void AddPinName(const std::string& name, unsigned wire);
  // The pins of the chip, by the names that AddPinName() gave.
  const std::map<std::string, unsigned>& pin_names() const { return wire_of_pin_; }
  // The pins of the devices, by device and pin. No board refers to them.
  using DevicePins = std::map<std::string, std::map<std::string, unsigned>>;
  void AddDevicePin(const std::string& device, const std::string& pin, unsigned wire) {
    device_pins_[device][pin] = wire;
  }
  const DevicePins& device_pins() const { return device_pins_; }

  static bool IsSupply(unsigned wire) { return wire == kVdd || wire == kGnd; }
  // Throws OrvoError for vdd and gnd.
  static void CheckWireNumberValidation(unsigned wire);

  // Reports to the control connection and, if asked for, on standard output.
  void SendPinStateToNetwork(WireLogicLevelEvent* event);
  void SendPinsStatesToNetwork(std::vector<WireLogicLevelEvent>* events);

 private:
  void SetLevels(std::span<const WireChange> changes, bool silent,
                 Observer<WireLogicLevelEvent>* source, bool keep_driver);
  // Returns whether the wire has taken a level that its observers must hear of.
  bool Apply(const WireChange& change, Observer<WireLogicLevelEvent>* source, bool keep_driver);

  std::map<std::string, unsigned> wire_of_pin_;
  DevicePins device_pins_;
  bool print_;
  bool quiet_;
  std::vector<WireState> wires_;
  WireObservers<WireDataEvent> data_observers_;
  WireObservers<WireLogicLevelEvent> level_observers_;
  ConnectionManager* connection_;
};

}  // namespace orvo
