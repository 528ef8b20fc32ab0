#define UART(offset) (*(volatile unsigned*)(0x40002000 + (offset)))

static void print(const char* text) {
  UART(0x50C) = 6;           // PSEL.TXD: pin P0.06
  UART(0x524) = 0x01D7E000;  // BAUDRATE: 115200
  UART(0x500) = 4;           // ENABLE: UART
  UART(0x008) = 1;           // TASKS_STARTTX
  for (; *text != '\0'; ++text) {
    UART(0x11C) = 0;                     // EVENTS_TXDRDY
    UART(0x51C) = (unsigned char)*text;  // TXD
    while (UART(0x11C) == 0) {
    }
  }
}

extern void reset(void);
__attribute__((section(".vectors"), used)) void* const vectors[] = {(void*)0x20010000, reset};

void reset(void) {
  print("hello\n");
  for (;;) {
  }
}
