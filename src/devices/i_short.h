// What a plug-in sees of a short. A binary contract: the order of the operations stays for ever,
// and a new version derives and adds at its end.
#pragma once

namespace orvo {

// A side of a short.
enum ShortPinNumber : unsigned { kShortPin0 = 0, kShortPin1 = 1 };

class iShort {
 public:
  // Moves a side to a wire.
  virtual void SetPin(ShortPinNumber side, unsigned wire) = 0;
  // Separates the wires, which keep their levels.
  virtual void DisableShort() = 0;

 protected:
  ~iShort() = default;
};

}  // namespace orvo
