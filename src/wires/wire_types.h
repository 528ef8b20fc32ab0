// What travels on the wires of a board: logic levels, voltages and blobs of bus data.
// WireChange, pin_direction_t and pin_pullup_t are part of the plug-in interface: the order of the
// fields and the values are fixed.
#pragma once

#include <vector>

#include "memory/observer.h"

namespace orvo {

// Mode of a pin. The numbers are those of the two-bit mode field of the STM32 GPIO (MODER).
enum pin_direction_t : unsigned {
  kPinInput = 0,
  kPinOutput = 1,
  kPinAlternateFunction = 2,
  kPinAnalog = 3,
};

// Pull setting, passed through from the register that holds it. Only kPullHigh means anything to
// the wires: an output configured with it starts high.
enum pin_pullup_t : unsigned {
  kNoPull = 0,
  kPullHigh = 1,
};

// A request to drive a wire, or a pin where a PinManager takes it.
struct WireChange {
  unsigned wire_number = 0;
  bool level = false;
  unsigned pin_number = 0;  // under which the source knows the wire
};

// A wire has taken a level.
struct WireLogicLevelEvent {
  int level = 0;  // 0 or 1
  unsigned wire_number = 0;
  unsigned pin_number = 0;  // under which the receiver knows the wire
  double voltage = 0;       // volts
};

// Bytes were sent over a wire.
struct WireDataEvent {
  unsigned size = 0;                    // bytes
  const unsigned char* data = nullptr;  // owned by the sender, valid only during the delivery
  unsigned wire_number = 0;
  unsigned pin_number = 0;  // under which the receiver knows the wire
};

struct WireState {
  bool level = true;
  // Never driven yet: the wire reads high because nothing has touched it.
  bool floating = true;
  double voltage = 3.0;  // volts
  // The owner: the last to drive the wire, known by observer and pin. A null driver is anonymous.
  unsigned driver_pin = 0;
  Observer<WireLogicLevelEvent>* driver = nullptr;
  bool has_driver = false;
  // The mailbox: a copy of the last data sent.
  std::vector<unsigned char> data;
};

}  // namespace orvo
