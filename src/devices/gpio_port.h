// What a chip section is that drives the pins of a port: the way to them for those who find the
// section by its name.
#pragma once

namespace orvo {

class PinManager;

class GpioPort {
 public:
  virtual PinManager& pin_manager() = 0;

 protected:
  ~GpioPort() = default;
};

}  // namespace orvo
