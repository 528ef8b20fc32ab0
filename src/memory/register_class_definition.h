// The second half of register_class.h, which alone includes it: the default operations of a
// register class, its table and its constructor.

#include <nlohmann/json.hpp>

#define ORVO_JOIN_EXPANDED(a, b) a##b
#define ORVO_JOIN(a, b) ORVO_JOIN_EXPANDED(a, b)
#define ORVO_TEXT_EXPANDED(text) #text
#define ORVO_TEXT(text) ORVO_TEXT_EXPANDED(text)

namespace orvo {

// --- Defaults --------------------------------------------------------------------------------

// Raw storage by width, called by name so that the register table is not consulted again.
#define ORVO_LOAD_32 MemorySection::get
#define ORVO_LOAD_16 MemorySection::getHalfWord
#define ORVO_LOAD_8 MemorySection::getByte
#define ORVO_STORE_32 MemorySection::set
#define ORVO_STORE_16 MemorySection::setHalfWord
#define ORVO_STORE_8 MemorySection::setByte

#define ORVO_DEFAULT_RW(bits, name) ORVO_STORE_##bits(offset, value)
#define ORVO_DEFAULT_WO(bits, name) ORVO_STORE_##bits(offset, value)
#define ORVO_DEFAULT_TASK(bits, name) \
  ThrowUnsupportedTask(ORVO_TEXT(REGISTER_CLASS) "::set_" #name ": unsupported task")

// clang-format off
#define ORVO_GET_DEFAULT(bits, name, ...) \
  unsigned REGISTER_CLASS::get_##name(__VA_ARGS__) { return ORVO_LOAD_##bits(offset); }
#define ORVO_SET_DEFAULT(bits, name, access, ...)   \
  void REGISTER_CLASS::set_##name(__VA_ARGS__) {    \
    ORVO_DEFAULT_##access(bits, name);              \
  }

#define ORVO_ONE(bits, o, name, access, reset)                                        \
  ORVO_READABLE_##access(ORVO_GET_DEFAULT(bits, name, unsigned offset), )             \
  ORVO_WRITABLE_##access(                                                             \
      ORVO_SET_DEFAULT(bits, name, access, [[maybe_unused]] unsigned offset,          \
                       [[maybe_unused]] ORVO_TYPE_##bits value), )
#define ORVO_MANY(bits, o, name, count, stride, access, reset)                        \
  ORVO_READABLE_##access(ORVO_GET_DEFAULT(bits, name, unsigned offset, unsigned), )   \
  ORVO_WRITABLE_##access(                                                             \
      ORVO_SET_DEFAULT(bits, name, access, [[maybe_unused]] unsigned offset, unsigned, \
                       [[maybe_unused]] ORVO_TYPE_##bits value), )
// clang-format on
#include REGISTER_LIST
#undef ORVO_ONE
#undef ORVO_MANY

// --- Table -----------------------------------------------------------------------------------

#define ORVO_ROWS ORVO_JOIN(k, ORVO_JOIN(REGISTER_CLASS, Rows))

// clang-format off
// The operations are virtual, so that a handler's override is what runs.
#define ORVO_GETTER(call)                                                \
  [](PeripheralMemory* section, [[maybe_unused]] unsigned offset,        \
     [[maybe_unused]] unsigned index) -> unsigned {                      \
    return static_cast<REGISTER_CLASS*>(section)->call;                  \
  }
#define ORVO_SETTER(call)                                                \
  [](PeripheralMemory* section, [[maybe_unused]] unsigned offset,        \
     [[maybe_unused]] unsigned index, unsigned value) {                  \
    static_cast<REGISTER_CLASS*>(section)->call;                         \
  }
#define ORVO_VALUE(bits) static_cast<ORVO_TYPE_##bits>(value)

#define ORVO_ONE(bits, o, name, access, reset)                                             \
  {o, 1, 0, bits, reset,                                                                   \
   ORVO_READABLE_##access(ORVO_GETTER(get_##name(offset)), nullptr),                       \
   ORVO_WRITABLE_##access(ORVO_SETTER(set_##name(offset, ORVO_VALUE(bits))), nullptr)},
#define ORVO_MANY(bits, o, name, count, stride, access, reset)                             \
  {o, count, stride, bits, reset,                                                          \
   ORVO_READABLE_##access(ORVO_GETTER(get_##name(offset, index)), nullptr),                \
   ORVO_WRITABLE_##access(ORVO_SETTER(set_##name(offset, index, ORVO_VALUE(bits))), nullptr)},
// clang-format on
namespace {
constexpr RegisterRow ORVO_ROWS[] = {
#include REGISTER_LIST
};
static_assert(EachOffsetOnce<REGISTER_TABLE_LENGTH>(ORVO_ROWS),
              "two registers at one offset, or one outside the table");
}  // namespace
#undef ORVO_ONE
#undef ORVO_MANY

REGISTER_CLASS::REGISTER_CLASS(Mcu* mcu, std::string name, unsigned start, unsigned size_bytes,
                               const InterruptMap&, const nlohmann::json&)
    : PeripheralMemory(mcu, std::move(name), start, size_bytes) {
  std::vector<RegisterData> rows = BindRows(ORVO_ROWS, this);
  SetRegisters(rows, REGISTER_TABLE_LENGTH);
}

ResetValues REGISTER_CLASS::reset_values() { return ResetValuesOf(ORVO_ROWS); }

}  // namespace orvo

#undef ORVO_JOIN_EXPANDED
#undef ORVO_JOIN
#undef ORVO_TEXT_EXPANDED
#undef ORVO_TEXT
#undef ORVO_LOAD_32
#undef ORVO_LOAD_16
#undef ORVO_LOAD_8
#undef ORVO_STORE_32
#undef ORVO_STORE_16
#undef ORVO_STORE_8
#undef ORVO_DEFAULT_RW
#undef ORVO_DEFAULT_WO
#undef ORVO_DEFAULT_TASK
#undef ORVO_GET_DEFAULT
#undef ORVO_SET_DEFAULT
#undef ORVO_ROWS
#undef ORVO_GETTER
#undef ORVO_SETTER
#undef ORVO_VALUE
