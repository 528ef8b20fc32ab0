// What a plug-in sees of an I2C bus that it is a slave on. A binary contract: the order of the
// operations never changes, and a new version derives and adds at its end.
#pragma once

namespace orvo {

// The bytes that the master writes.
class iI2cSlaveBaseReadStreamV1 {
 public:
  // Blocks until the master has written `size` bytes, which are acknowledged, or has ended the
  // transfer; returns how many there are.
  virtual unsigned long ReadAndSendAck(unsigned char* data, unsigned long size) = 0;
  virtual bool ReceivedStop() = 0;

 protected:
  ~iI2cSlaveBaseReadStreamV1() = default;
};

// The bytes that the master reads.
class iI2cSlaveBaseWriteStreamV1 {
 public:
  // Blocks until the master has taken all that was written before and wants more; returns `size`,
  // or 0 if it has refused more.
  virtual unsigned long Write(unsigned char* data, unsigned long size) = 0;
  virtual bool ReceivedNack() = 0;

 protected:
  ~iI2cSlaveBaseWriteStreamV1() = default;
};

// The plug-in's side. Each call has a thread of its own and stands for one transfer: by returning,
// the plug-in refuses what else the master writes, and gives it 0xff for what else it reads.
class iI2cSlaveHandlerV1 {
 public:
  virtual void OnMasterWrite(unsigned char address, iI2cSlaveBaseReadStreamV1* stream) = 0;
  virtual void OnMasterRead(unsigned char address, iI2cSlaveBaseWriteStreamV1* stream) = 0;

 protected:
  ~iI2cSlaveHandlerV1() = default;
};

class iI2cSlaveBaseV1 {
 public:
  virtual void SetSdaWire(unsigned wire) = 0;
  // The only address from now on, of 7 bits; bits outside the mask don't count.
  virtual void SetSlaveAddress(unsigned char address, unsigned char mask) = 0;
  virtual void SetHandler(iI2cSlaveHandlerV1* handler) = 0;
  virtual void Enable() = 0;
  virtual void Disable() = 0;
  // Ends the open transfers and refuses all others. Returns when no call of the handler is open.
  virtual void close() = 0;

 protected:
  ~iI2cSlaveBaseV1() = default;
};

}  // namespace orvo
