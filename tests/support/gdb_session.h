// A run that waits for a debugger, on a port of its own.
#pragma once

#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "support/orvo_process.h"
#include "unit/control/control_client.h"

namespace orvo {

inline std::vector<std::string> Split(const std::string& text, char separator) {
  std::vector<std::string> parts;
  std::istringstream stream(text);
  for (std::string part; std::getline(stream, part, separator);) parts.push_back(part);
  return parts;
}

struct GdbSession {
  OrvoBench bench;
  std::string image;  // name of the test firmware, without a suffix
  ChildProcess orvo;
  std::string port = "none";

  explicit GdbSession(const std::string& firmware, std::vector<std::string> arguments = {})
      : image(firmware), orvo(bench.Start(Arguments(firmware, std::move(arguments)))) {
    const std::string before = "GDB server on port ";
    if (!orvo.WaitForOutput(": the run waits for its client\n", kRunLimit)) return;
    const size_t begin = orvo.err().find(before) + before.size();
    port = orvo.err().substr(begin, orvo.err().find(':', begin) - begin);
  }

  // Until the firmware is done, printing its UART.
  static std::vector<std::string> Arguments(const std::string& firmware,
                                            std::vector<std::string> more) {
    std::vector<std::string> all = {
        "-g",          "--gdb-port", "0", "-u", "-p",
        kFirmwareDone, "-k",         "1", "-i", FirmwarePath(firmware + ".bin")};
    all.insert(all.end(), more.begin(), more.end());
    return all;
  }

  // GDB as a process. Its commands are separated by ';'; it connects behind those of `before`.
  ChildProcess StartGdb(const std::string& commands, const std::string& before = "") const {
    std::vector<std::string> arguments = {"-nx", "-batch"};
    const std::string all = before + ";file " + FirmwarePath(image + ".elf") +
                            ";target remote :" + port + ";" + commands;
    for (const std::string& command : Split(all, ';')) {
      arguments.insert(arguments.end(), {"-ex", command});
    }
    return {"gdb-multiarch", arguments, bench.directory().path()};
  }
  // What GDB prints, its errors behind the rest.
  std::string Gdb(const std::string& commands, const std::string& before = "") const {
    const ProcessResult gdb = StartGdb(commands, before).Wait(kRunLimit);
    return gdb.timed_out ? "GDB HANGS: " + gdb.out + gdb.err : gdb.out + gdb.err;
  }

  ControlClient Client() const {
    return ControlClient(static_cast<unsigned short>(std::stoi("0" + port)));
  }
};

}  // namespace orvo
