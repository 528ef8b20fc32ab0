// Bits of the system control registers (ARMv7-M ARM, B3.2) that have behaviour.
#pragma once

namespace orvo::scb {

// clang-format off
inline constexpr unsigned kVectActive       = 0x1ff;        // ICSR
inline constexpr unsigned kRetToBase        = 1u << 11;     // ICSR
inline constexpr unsigned kVectPending      = 0x3fu << 12;  // ICSR
inline constexpr unsigned kVectPendingShift = 12;
inline constexpr unsigned kIsrPending       = 1u << 22;     // ICSR
inline constexpr unsigned kPendStClear      = 1u << 25;     // ICSR
inline constexpr unsigned kPendStSet        = 1u << 26;     // ICSR
inline constexpr unsigned kPendSvClear      = 1u << 27;     // ICSR
inline constexpr unsigned kPendSvSet        = 1u << 28;     // ICSR
inline constexpr unsigned kNmiPendSet       = 1u << 31;     // ICSR
inline constexpr unsigned kVectKey          = 0x05fau << 16;  // AIRCR, as written
inline constexpr unsigned kVectKeyStat      = 0xfa05u << 16;  // AIRCR, as read
inline constexpr unsigned kEndianness       = 1u << 15;     // AIRCR
inline constexpr unsigned kPriGroupShift    = 8;            // AIRCR
inline constexpr unsigned kPriGroup         = 7;            // AIRCR, shifted down
inline constexpr unsigned kSysResetReq      = 1u << 2;      // AIRCR
inline constexpr unsigned kSevOnPend        = 1u << 4;      // SCR
inline constexpr unsigned kNonBaseThrdEna   = 1u << 0;      // CCR
inline constexpr unsigned kMemFaultEna      = 1u << 16;     // SHCSR
inline constexpr unsigned kBusFaultEna      = 1u << 17;     // SHCSR
inline constexpr unsigned kUsgFaultEna      = 1u << 18;     // SHCSR
inline constexpr unsigned kActOrPended      = 0xfc0b;       // SHCSR, the bits that aren't modelled
inline constexpr unsigned kDaccViol         = 1u << 1;      // CFSR, MemManage
inline constexpr unsigned kMmarValid        = 1u << 7;      // CFSR, MemManage
inline constexpr unsigned kImpreciseErr     = 1u << 10;     // CFSR, BusFault
inline constexpr unsigned kInvPc            = 1u << 18;     // CFSR, UsageFault
inline constexpr unsigned kForced           = 1u << 30;     // HFSR
inline constexpr unsigned kSysTickEnable    = 1u << 0;      // SysTick CSR
inline constexpr unsigned kTickInt          = 1u << 1;      // SysTick CSR
inline constexpr unsigned kClkSource        = 1u << 2;      // SysTick CSR
inline constexpr unsigned kCountFlag        = 1u << 16;     // SysTick CSR
inline constexpr unsigned kCycDisable       = 1u << 25;     // DWT_CTRL, not modelled

inline constexpr unsigned kBasepriMask    = 0xe0;  // implemented bits of BASEPRI
inline constexpr unsigned kLowestPriority = 255;   // never taken

// Where the exception engine keeps the value of ICSR: reserved bytes of the section.
inline constexpr unsigned kIcsrStorage = 0x0cfc;
// clang-format on

}  // namespace orvo::scb
