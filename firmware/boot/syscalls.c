// What newlib asks of a system: output goes to the console, there is no input, and the heap grows
// from the end of the variables to 4 KB below the top of RAM.
#include <errno.h>
#include <stddef.h>
#include <sys/stat.h>

#include "drivers/console.h"

extern char heap_start[], heap_end[];

int _write(int file, const char* bytes, int length) {
  (void)file;
  console_write(bytes, (unsigned)length);
  return length;
}

void* _sbrk(ptrdiff_t increment) {
  static char* heap_top = heap_start;
  if (increment > heap_end - heap_top) {
    errno = ENOMEM;
    return (void*)-1;
  }
  char* old_top = heap_top;
  heap_top += increment;
  return old_top;
}

int _read(int file, char* bytes, int length) {
  (void)file, (void)bytes, (void)length;
  return 0;
}

int _fstat(int file, struct stat* status) {
  (void)file;
  status->st_mode = S_IFCHR;  // a terminal: stdout is flushed at each line
  return 0;
}

int _isatty(int file) {
  (void)file;
  return 1;
}

int _close(int file) {
  (void)file;
  return -1;
}

int _lseek(int file, int offset, int whence) {
  (void)file, (void)offset, (void)whence;
  return 0;
}

int _getpid(void) { return 1; }

int _kill(int process, int signal) {
  (void)process, (void)signal;
  errno = EINVAL;
  return -1;
}
