// The vocabulary of the control connection: every key and value of its JSON messages that has a name
// of its own. Those of error events stand with the errors, in runner/errors.h. Some are declared for
// clients and used by no sender: kCommandStart, kGDBClientConnected, kI2CSlaveEventStart and
// kAsssemblyInstruction, whose spelling is the system's.
#pragma once

#include "runner/errors.h"

namespace orvo {

// clang-format off
// Message structure.
inline constexpr char kType[]             = "type";
inline constexpr char kCommand[]          = "command";
inline constexpr char kResponse[]         = "response";
inline constexpr char kEvent[]            = "event";
inline constexpr char kDescription[]      = "description";
inline constexpr char kHandshake[]        = "handshake";
inline constexpr char kApiVersionString[] = "api_version";
inline constexpr char kApiVersion[]       = "1";
inline constexpr char kMessageID[]        = "message_id";
inline constexpr char kOk[]               = "ok";
inline constexpr char kError[]            = "error";
inline constexpr char kValue[]            = "value";
inline constexpr char kName[]             = "name";
inline constexpr char kDeviceTime[]       = "device_time";
inline constexpr char kPeripheralName[]   = "peripheral_name";
inline constexpr char kPeripheralType[]   = "peripheral_type";
inline constexpr char kCommandStart[]     = "start";
inline constexpr char kBkpt[]             = "bkpt";

// Commands of the chip's control peripheral, SUDO.
inline constexpr char kStopAfterCommand[]     = "stop_after";
inline constexpr char kResume_Command[]       = "resume_running";
inline constexpr char kCancelStop[]           = "cancel_stop";
inline constexpr char kCancelStopResponse[]   = "stop_canceled";
inline constexpr char kResumed[]              = "resumed";
inline constexpr char kPause[]                = "pause";
inline constexpr char kTerminate[]            = "terminate";
inline constexpr char kSetTimer[]             = "set_timer";
inline constexpr char kTimerID[]              = "timer_id";
inline constexpr char kTicks[]                = "ticks";
inline constexpr char kNanoSeconds[]          = "nanoseconds";
inline constexpr char kGetState[]             = "get_state";
inline constexpr char kEmulatorState[]        = "emulator_state";
inline constexpr char kEmulatorStatePaused[]  = "paused";
inline constexpr char kEmulatorStateRunning[] = "running";
inline constexpr char kGetDeviceTime[]        = "get_device_time";
inline constexpr char kSetPinLevel[]          = "set_pin_level";
inline constexpr char kGetPinLevel[]          = "get_pin_level";
inline constexpr char kPinLevel[]             = "pin_level";
inline constexpr char kPinNum[]               = "pin_number";
inline constexpr char kValueResponse[]        = "value_response";
inline constexpr char kSudoExit[]             = "sudo_exit";

// Further commands of SUDO: the way to a pause at the very tick of an event, and back from it.
inline constexpr char kPauseAtEvent[]         = "pause_at_event";
inline constexpr char kTriggerID[]            = "trigger_id";
inline constexpr char kCancelPauseAtEvent[]   = "cancel_pause_at_event";
inline constexpr char kPauseAtEventCanceled[] = "pause_at_event_canceled";
inline constexpr char kCancelTimer[]          = "cancel_timer";
inline constexpr char kTimerCanceled[]        = "timer_canceled";

// Events, and commands of other peripherals.
inline constexpr char kPinLevelEvent[]        = "pin_level_event";
inline constexpr char kTransitionType[]       = "transition_type";
inline constexpr char kVoltage[]              = "voltage";
inline constexpr char kUartEvent[]            = "uart_event";
inline constexpr char kUartWrite[]            = "write_uart_data";
inline constexpr char kGDBClientConnected[]   = "gdb_client_connected_event";
inline constexpr char kSpMax[]                = "sp_max";
inline constexpr char kCodeCoverage[]         = "code_coverage";
inline constexpr char kAsssemblyInstruction[] = "assembly_instruction";
inline constexpr char kSetRegisterValue[]     = "set_reg_value";
inline constexpr char kGetRegisterValue[]     = "get_reg_value";
inline constexpr char kGetValueResponse[]     = "get_value_response";
inline constexpr char kInterruptCommand[]     = "set_interrupt";
inline constexpr char kInterruptType[]        = "interrupt_type";
inline constexpr char kBatteryUsbCharge[]     = "battery_charge_usb_event";
inline constexpr char kBatteryInCharge[]      = "battery_charge_in_event";
inline constexpr char kBatteryDisCharge[]     = "battery_discharge_event";
inline constexpr char kUsbSupplyInt[]         = "usb_supply_interrupt";
inline constexpr char kInSupplyInt[]          = "in_supply_interrupt";
inline constexpr char kShutdownInt[]          = "thermal_shutdown_interrupt";
inline constexpr char kBatteryFaultInt[]      = "battery_fault_interrupt";
inline constexpr char kTempFaultInt[]         = "temperature_fault_interrupt";
inline constexpr char kSleepModeInt[]         = "sleep_mode_interrupt";
inline constexpr char kWdInt[]                = "watchdog_expiration_interrupt";
inline constexpr char kTimerFaultInt[]        = "timer_fault_interrupt";

// I2C.
inline constexpr char kI2CEvent[]               = "i2c_event";
inline constexpr char kI2CEventType[]           = "event_type";
inline constexpr char kI2CSlaveEventRead[]      = "on_read";
inline constexpr char kI2CSlaveEventWrite[]     = "on_write";
inline constexpr char kI2CSlaveEventStart[]     = "on_start";
inline constexpr char kI2CSlaveEventStopRead[]  = "on_stop_read";
inline constexpr char kI2CSlaveEventStopWrite[] = "on_stop_write";
inline constexpr char kI2CSetDeviceAddress[]    = "set_device_address";
inline constexpr char kI2CDeviceAddress[]       = "device_address";
inline constexpr char kI2CDeviceAddressMask[]   = "mask";
inline constexpr char kI2CAddress[]             = "address";
inline constexpr char kI2CAck[]                 = "ack";
inline constexpr char kI2CReadIndex[]           = "read_index";
inline constexpr char kI2CWriteIndex[]          = "write_index";
inline constexpr char kI2CData[]                = "data";
inline constexpr char kI2CMasterWrite[]         = "master_write";
inline constexpr char kI2CMasterRead[]          = "master_read";
inline constexpr char kI2CMasterWriteRead[]     = "master_write_read";
inline constexpr char kI2CMasterSetFrequency[]  = "master_set_frequency";
inline constexpr char kI2CEventReadFinished[]   = "master_read_finished";
inline constexpr char kI2CEventWriteFinished[]  = "master_write_finished";
inline constexpr char kI2CNumBytesToRead[]      = "num_bytes_to_read";
inline constexpr char kI2CFrequency[]           = "i2c_frequency";
// clang-format on

}  // namespace orvo
