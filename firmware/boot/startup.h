// The handlers that the vector table names. A program defines those that it wants, with
// __attribute__((interrupt)): exception entry does not align the stack, the attribute's prologue
// does.
#pragma once

#define OPTIONAL_HANDLER(name) void name(void) __attribute__((weak))

OPTIONAL_HANDLER(nmi_handler);
OPTIONAL_HANDLER(hard_fault_handler);
OPTIONAL_HANDLER(mem_manage_handler);
OPTIONAL_HANDLER(bus_fault_handler);
OPTIONAL_HANDLER(usage_fault_handler);
OPTIONAL_HANDLER(svcall_handler);
OPTIONAL_HANDLER(pendsv_handler);
OPTIONAL_HANDLER(systick_handler);
OPTIONAL_HANDLER(power_clock_handler);
OPTIONAL_HANDLER(uarte0_uart0_handler);
OPTIONAL_HANDLER(gpiote_handler);
OPTIONAL_HANDLER(timer0_handler);

#undef OPTIONAL_HANDLER

// The address at which a finished program stays; never returns.
void firmware_done(int status) __attribute__((noreturn));
