// A pseudo-terminal that stands for the host's end of a serial line. See pty(7).
#pragma once

#include <string>

namespace orvo {

class UartPty {
 public:
  // Opens a terminal pair in raw mode: bytes pass unchanged and nothing is echoed. Throws OrvoError
  // with the system's text.
  UartPty();
  UartPty(const UartPty&) = delete;
  UartPty& operator=(const UartPty&) = delete;
  // Lets a program that has the terminal open read what is there.
  ~UartPty();

  // Path of the terminal that a user opens.
  const std::string& slave_name() const { return slave_name_; }
  // Returns when all bytes are written. What nobody reads is thrown away once the terminal is full.
  // Throws OrvoError when the terminal can't be written to.
  void Write(const std::string& bytes);
  // Waits for input for at most the time given; returns the number of bytes read, 0 for none, or a
  // negative number on an error.
  long Read(char* buffer, unsigned long capacity, int timeout_ms);

 private:
  // Bytes that a program has yet to read that has the terminal open; 0 if there is none.
  int Unread();

  int master_ = -1;
  // Kept open, so that the master doesn't report a hang-up each time that a user closes the
  // terminal.
  int slave_ = -1;
  std::string slave_name_;
};

}  // namespace orvo
