// What a plug-in sees of a data generator. A binary contract: the order of the operations stays for
// ever, and a new version derives and adds at its end. Plug-ins never delete a generator.
#pragma once

#include <string>

namespace orvo {

class iDataGeneratorV1 {
 public:
  virtual int GetNextInt32() = 0;
  virtual double GetNextDouble() = 0;
  virtual short GetNextInt16() = 0;
  virtual unsigned char GetNextUInt8() = 0;
  virtual double GetCachedValue() = 0;

 protected:
  ~iDataGeneratorV1() = default;
};

class iDataGeneratorV2 : public iDataGeneratorV1 {
 public:
  virtual std::string GetNextString() = 0;
  virtual std::string GetCachedValueStr() = 0;

 protected:
  ~iDataGeneratorV2() = default;
};

}  // namespace orvo
