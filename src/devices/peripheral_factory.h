// From the "class" of a board component to its object.
#pragma once

#include "config/json_place.h"

namespace orvo {

class Mcu;
class Peripheral;
class WireManager;

// A device on the board, or an entry of the chip's "internal_peripherals".
enum class ComponentKind { kExternal, kInternal };

// The object of the component's class. Devices belong to the chip from then on. An internal
// component is the chip's section of that name: SUDO or any other. Throws UserError for an unknown
// class and for one whose model is not built in; null if a list of problems took that.
Peripheral* MakePeripheral(const JsonPlace& component, Mcu* mcu, WireManager& wires,
                           ComponentKind kind);

}  // namespace orvo
