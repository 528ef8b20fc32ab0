// A small preemptive kernel: tasks with priorities and time slices, delays, and queues. Its time is
// the kernel tick, one period of SysTick. It takes the vectors of SVCall, PendSV and SysTick.
// Left out: ending a task, inheritance of priorities.
#pragma once

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#define KERNEL_FOREVER 0xFFFFFFFFu

typedef struct KernelQueue KernelQueue;

typedef enum { kTaskReady, kTaskDelayed, kTaskSending, kTaskReceiving } KernelTaskState;

// The caller provides the storage; the fields are the kernel's.
typedef struct KernelTask {
  uint32_t* stack_pointer;
  struct KernelTask* next;  // of all tasks, in a ring
  KernelTaskState state;
  KernelQueue* queue;  // that it sends to or receives from
  uint32_t wake_at;    // kernel tick, unless for ever
  bool for_ever;
  bool timed_out;
  uint8_t priority;
  uint32_t turn;  // number of the switch by which it last ran; the kernel is for 2^32 of them
} KernelTask;

struct KernelQueue {
  uint8_t* buffer;
  size_t item_bytes, capacity, count, first;
};

// Before kernel_start(). Higher priorities win; 0 is the idle task's.
void kernel_create(KernelTask* task, void (*entry)(void*), void* argument, uint32_t* stack,
                   size_t stack_words, uint8_t priority);
// Runs the tasks until one of them calls kernel_stop().
void kernel_start(uint32_t period_ticks);
void kernel_stop(void);

// All of these from tasks only.
uint32_t kernel_now(void);
void kernel_delay(uint32_t kernel_ticks);
// Until `kernel_ticks` after *last, which becomes that tick: no drift.
void kernel_delay_until(uint32_t* last, uint32_t kernel_ticks);

void kernel_queue_init(KernelQueue* queue, void* buffer, size_t item_bytes, size_t capacity);
// False if there was no room, or nothing to receive, for `kernel_ticks`. 0 does not wait.
bool kernel_send(KernelQueue* queue, const void* item, uint32_t kernel_ticks);
bool kernel_receive(KernelQueue* queue, void* item, uint32_t kernel_ticks);
