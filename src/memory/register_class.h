// Makes a register class from a register list. Included once per class, so without a guard, by a
// header of a few lines:
//
//   #pragma once
//   #define REGISTER_CLASS Nrf52TIMER
//   #define REGISTER_LIST "peripherals/nrf52/registers/timer.inc"
//   #define REGISTER_TABLE_LENGTH 4096  // byte offsets that the table has
//   #include "memory/register_class.h"
//
// One source file of the library defines the class: it says #define DEFINE_REGISTER_CLASSES before
// it includes that header.
//
// A list has a row per register, 32 bits wide unless the row says otherwise:
//
//   REGISTER  (offset, NAME,                access, reset value)
//   REGISTER16(offset, NAME,                access, reset value)
//   REGISTER8 (offset, NAME,                access, reset value)
//   ARRAY     (offset, NAME, count, stride, access, reset value)    also ARRAY16, ARRAY8
//
// Access is RW, RO, WO, or TASK: write-only, and writing throws "Class::set_NAME: unsupported
// task" unless a handler overrides it. The class has, for each row,
//
//   NAME                                      the offset, of the first element of an array
//   virtual unsigned get_NAME(offset)         unless write-only; default: the raw stored value
//   virtual void set_NAME(offset, value)      unless read-only; default: raw store and PPI signal
//
// with (offset, index) and (offset, index, value) for an array. A value is unsigned,
// unsigned short or unsigned char by width; the offset is that of the register or element.
// A name that occurs twice doesn't compile, nor does an offset.

#include <nlohmann/json_fwd.hpp>
#include <string>

#include "memory/register_table.h"

#define REGISTER(offset, name, access, reset) ORVO_ONE(32, offset, name, access, reset)
#define REGISTER16(offset, name, access, reset) ORVO_ONE(16, offset, name, access, reset)
#define REGISTER8(offset, name, access, reset) ORVO_ONE(8, offset, name, access, reset)
#define ARRAY(offset, name, count, stride, access, reset) \
  ORVO_MANY(32, offset, name, count, stride, access, reset)
#define ARRAY16(offset, name, count, stride, access, reset) \
  ORVO_MANY(16, offset, name, count, stride, access, reset)
#define ARRAY8(offset, name, count, stride, access, reset) \
  ORVO_MANY(8, offset, name, count, stride, access, reset)

#define ORVO_TYPE_32 unsigned
#define ORVO_TYPE_16 unsigned short
#define ORVO_TYPE_8 unsigned char

// By access right: the first argument if the register has the operation, otherwise the second.
#define ORVO_READABLE_RW(yes, no) yes
#define ORVO_READABLE_RO(yes, no) yes
#define ORVO_READABLE_WO(yes, no) no
#define ORVO_READABLE_TASK(yes, no) no
#define ORVO_WRITABLE_RW(yes, no) yes
#define ORVO_WRITABLE_RO(yes, no) no
#define ORVO_WRITABLE_WO(yes, no) yes
#define ORVO_WRITABLE_TASK(yes, no) yes

namespace orvo {

class REGISTER_CLASS : public PeripheralMemory {
 public:
  REGISTER_CLASS(Mcu* mcu, std::string name, unsigned start, unsigned size_bytes,
                 const InterruptMap& interrupts, const nlohmann::json& configuration);

  // What the list says; a chip's map hands it to SetResetValues, with the chip's own changes.
  static ResetValues reset_values();

#define ORVO_ONE(bits, offset, name, access, reset) static constexpr unsigned name = offset;
#define ORVO_MANY(bits, offset, name, count, stride, access, reset) \
  static constexpr unsigned name = offset;
#include REGISTER_LIST
#undef ORVO_ONE
#undef ORVO_MANY

// clang-format off
#define ORVO_ONE(bits, o, name, access, reset)                          \
  ORVO_READABLE_##access(virtual unsigned get_##name(unsigned offset);, ) \
  ORVO_WRITABLE_##access(virtual void set_##name(unsigned offset, ORVO_TYPE_##bits value);, )
#define ORVO_MANY(bits, o, name, count, stride, access, reset)                              \
  ORVO_READABLE_##access(virtual unsigned get_##name(unsigned offset, unsigned index);, )   \
  ORVO_WRITABLE_##access(                                                                   \
      virtual void set_##name(unsigned offset, unsigned index, ORVO_TYPE_##bits value);, )
// clang-format on
#include REGISTER_LIST
#undef ORVO_ONE
#undef ORVO_MANY
};

}  // namespace orvo

#ifdef DEFINE_REGISTER_CLASSES
#include "memory/register_class_definition.h"
#endif

#undef REGISTER
#undef REGISTER16
#undef REGISTER8
#undef ARRAY
#undef ARRAY16
#undef ARRAY8
#undef ORVO_TYPE_32
#undef ORVO_TYPE_16
#undef ORVO_TYPE_8
#undef ORVO_READABLE_RW
#undef ORVO_READABLE_RO
#undef ORVO_READABLE_WO
#undef ORVO_READABLE_TASK
#undef ORVO_WRITABLE_RW
#undef ORVO_WRITABLE_RO
#undef ORVO_WRITABLE_WO
#undef ORVO_WRITABLE_TASK
#undef REGISTER_CLASS
#undef REGISTER_LIST
#undef REGISTER_TABLE_LENGTH
