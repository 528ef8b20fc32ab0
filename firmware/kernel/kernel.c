#include "kernel/kernel.h"

#include <string.h>

#include "boot/startup.h"
#include "drivers/registers.h"
#include "drivers/systick.h"
#include "kernel/context.h"

enum { kIdleStackWords = 128, kStop = 1 };  // the supervisor call beside that of context.h

static KernelTask* running;  // and the way into the ring of all tasks
static KernelTask idle;
static uint32_t idle_stack[kIdleStackWords] __attribute__((aligned(8)));
static volatile uint32_t now;

// --- Masking -------------------------------------------------------------------------------------

static uint32_t mask(void) {
  uint32_t before;
  __asm volatile("mrs %0, primask\n\tcpsid i" : "=r"(before)::"memory");
  return before;
}

static void unmask(uint32_t before) { __asm volatile("msr primask, %0" ::"r"(before) : "memory"); }

static void pend_switch(void) { ICSR = ICSR_PENDSVSET; }

// --- Switching -----------------------------------------------------------------------------------

// Whether a is to run rather than b: tasks of one priority take turns.
static bool precedes(const KernelTask* a, const KernelTask* b) {
  if (a->priority != b->priority) return a->priority > b->priority;
  return a->turn < b->turn;
}

static KernelTask* next_task(void) {
  static uint32_t turn;
  KernelTask* best = &idle;
  KernelTask* task = running;
  do {
    task = task->next;
    if (task->state == kTaskReady && precedes(task, best)) best = task;
  } while (task != running);
  best->turn = ++turn;
  return best;
}

__attribute__((used)) static uint32_t* switch_from(uint32_t* stack_pointer) {
  const uint32_t before = mask();
  running->stack_pointer = stack_pointer;
  running = next_task();
  unmask(before);
  return running->stack_pointer;
}

__attribute__((naked)) void pendsv_handler(void) {
  __asm volatile(CONTEXT_SAVE "bl switch_from\n\t" CONTEXT_LOAD);
}

__attribute__((used)) static uint32_t serve(const uint32_t* frame) {
  if (context_call_number(frame) == kStop) return kReturnToMain;
  running = next_task();
  return context_begin(running->stack_pointer);
}

__attribute__((naked)) void svcall_handler(void) { __asm volatile(CONTEXT_SERVE(serve)); }

__attribute__((interrupt)) void systick_handler(void) {
  const uint32_t before = mask();
  now = now + 1;
  for (KernelTask* task = running->next;; task = task->next) {
    if (task->state != kTaskReady && !task->for_ever && task->wake_at == now) {
      task->state = kTaskReady;
      task->timed_out = true;
    }
    if (task == running) break;
  }
  unmask(before);
  pend_switch();
}

// --- Tasks ---------------------------------------------------------------------------------------

void kernel_create(KernelTask* task, void (*entry)(void*), void* argument, uint32_t* stack,
                   size_t stack_words, uint8_t priority) {
  *task = (KernelTask){
      .stack_pointer = context_prepare(stack, stack_words, (uint32_t)entry, (uint32_t)argument),
      .priority = priority};
  if (running == NULL) {
    running = task->next = task;
  } else {
    task->next = running->next;
    running->next = task;
  }
}

static void run_idle(void* unused) {
  (void)unused;
  for (;;) __asm volatile("wfe");
}

void kernel_start(uint32_t period_ticks) {
  kernel_create(&idle, run_idle, NULL, idle_stack, kIdleStackWords, 0);
  now = 0;
  SHPR2 = 0;           // SVCall
  SHPR3 = 0xC0E00000;  // SysTick, PendSV
  systick_start(period_ticks);
  context_leave_main();
  systick_stop();
}

void kernel_stop(void) { __asm volatile("svc %0" ::"i"(kStop) : "memory"); }

// --- Time ----------------------------------------------------------------------------------------

uint32_t kernel_now(void) { return now; }

// Masked; the others run until somebody makes this task ready. False if that was the time.
static bool wait(KernelTaskState state, KernelQueue* queue, uint32_t wake_at, bool for_ever) {
  running->state = state;
  running->queue = queue;
  running->wake_at = wake_at;
  running->for_ever = for_ever;
  running->timed_out = false;
  pend_switch();
  unmask(0);
  mask();
  return !running->timed_out;
}

void kernel_delay(uint32_t kernel_ticks) {
  uint32_t last = now;
  kernel_delay_until(&last, kernel_ticks);
}

void kernel_delay_until(uint32_t* last, uint32_t kernel_ticks) {
  const uint32_t before = mask();
  *last += kernel_ticks;
  if ((int32_t)(*last - now) > 0) wait(kTaskDelayed, NULL, *last, false);
  unmask(before);
}

// --- Queues --------------------------------------------------------------------------------------

void kernel_queue_init(KernelQueue* queue, void* buffer, size_t item_bytes, size_t capacity) {
  *queue = (KernelQueue){buffer, item_bytes, capacity, 0, 0};
}

static uint8_t* item_at(const KernelQueue* queue, size_t n) {
  return queue->buffer + (queue->first + n) % queue->capacity * queue->item_bytes;
}

// Makes one task ready that waits at the queue in the state.
static void wake(const KernelQueue* queue, KernelTaskState state) {
  KernelTask* best = NULL;
  KernelTask* task = running;
  do {
    task = task->next;
    if (task->state != state || task->queue != queue) continue;
    if (best == NULL || precedes(task, best)) best = task;
  } while (task != running);
  if (best == NULL) return;
  best->state = kTaskReady;
  pend_switch();
}

// Masked. Waits while the queue's count is `count`; false when the time is over.
static bool wait_while(KernelQueue* queue, size_t count, KernelTaskState state,
                       uint32_t kernel_ticks) {
  const uint32_t deadline = now + kernel_ticks;
  const bool for_ever = kernel_ticks == KERNEL_FOREVER;
  while (queue->count == count) {
    if (!for_ever && (int32_t)(deadline - now) <= 0) return false;
    wait(state, queue, deadline, for_ever);
  }
  return true;
}

bool kernel_send(KernelQueue* queue, const void* item, uint32_t kernel_ticks) {
  const uint32_t before = mask();
  const bool room = wait_while(queue, queue->capacity, kTaskSending, kernel_ticks);
  if (room) {
    memcpy(item_at(queue, queue->count++), item, queue->item_bytes);
    wake(queue, kTaskReceiving);
  }
  unmask(before);
  return room;
}

bool kernel_receive(KernelQueue* queue, void* item, uint32_t kernel_ticks) {
  const uint32_t before = mask();
  const bool there = wait_while(queue, 0, kTaskReceiving, kernel_ticks);
  if (there) {
    memcpy(item, item_at(queue, 0), queue->item_bytes);
    queue->first = (queue->first + 1) % queue->capacity;
    --queue->count;
    wake(queue, kTaskSending);
  }
  unmask(before);
  return there;
}
