// The packets that a client sends, by their first letter.
#include <charconv>
#include <iostream>

#include "control/gdb_frames.h"
#include "control/gdb_server.h"
#include "core/registers.h"
#include "mcu/mcu.h"
#include "runner/errors.h"
#include "runner/text.h"

namespace orvo {
namespace {

constexpr int kExitCodeOfUnsupported = 3;
constexpr unsigned kRamStart = 0x20000000;
constexpr unsigned long kAddressSpaceBytes = 1ul << 32;
constexpr int kInterruptSignal = 2;  // SIGINT, by GDB's numbers too

// The two numbers in "<letter><first><separator><second>".
struct Numbers {
  unsigned first;
  unsigned second;
};
Numbers TwoNumbers(const std::string& packet, char separator) {
  const size_t middle = packet.find(separator);
  if (middle == std::string::npos) throw UserError(std::string("No '") + separator + "' in it");
  return {HexToInt(packet.substr(1, middle - 1)), HexToInt(packet.substr(middle + 1))};
}

}  // namespace

struct GdbServer::PacketRow {
  char letter;
  Handler handler;
};

void GdbServer::HandlePacket(const std::string& packet) {
  // clang-format off
  static constexpr PacketRow kPackets[] = {
      {'?', &GdbServer::HandleStatus},
      {'c', &GdbServer::HandleContinue},
      {'s', &GdbServer::HandleStep},
      {'C', &GdbServer::HandleContinueWithSignal},
      {'D', &GdbServer::HandleDetach},
      {'g', &GdbServer::HandleReadRegisters},
      {'G', &GdbServer::HandleAcknowledged},
      {'H', &GdbServer::HandleAcknowledged},
      {'T', &GdbServer::HandleAcknowledged},
      {'k', &GdbServer::HandleKill},
      {'m', &GdbServer::HandleReadMemory},
      {'p', &GdbServer::HandleReadRegister},
      {'P', &GdbServer::HandleWriteRegister},
      {'q', &GdbServer::HandleQuery},
      {'Q', &GdbServer::HandleSet},
      {'X', &GdbServer::WriteDataToMemory},
      {'Z', &GdbServer::HandleBreakpoint},
      {'z', &GdbServer::HandleBreakpoint},
      {'v', &GdbServer::HandleVerbose},
  };
  // clang-format on
  try {
    for (const PacketRow& row : kPackets) {
      if (!packet.empty() && row.letter == packet.front()) return (this->*row.handler)(packet);
    }
    Complain("unsupported messages: " + packet);
  } catch (const UserError& error) {
    // Deliberate: no answer.
    Complain("malformed message: " + packet + ": " + error.message());
  } catch (const std::exception& error) {
    Complain("message failed: " + packet + ": " + error.what());
  }
}

// --- Going on, and leaving -----------------------------------------------------------------------

// Deliberate: a signal can't be given to the firmware, and nothing goes on. GDB waits for a stop
// nevertheless, and is told of the one that lasts.
void GdbServer::HandleContinueWithSignal(const std::string& packet) {
  const std::string digits = packet.substr(1, 2);
  int signal = 0;
  if (std::from_chars(digits.data(), digits.data() + digits.size(), signal).ec != std::errc())
    throw UserError("Not a signal: '" + digits + "'");
  if (signal != kInterruptSignal) SendMessage("OK");
  if (client_has_description_) SendMessage(kStopped);
}

// Deliberate: the packet is taken for a read of memory as well, which has no address.
void GdbServer::HandleDetach(const std::string&) {
  SendMessage("OK");
  SendMessage("E01");
}

void GdbServer::HandleVerbose(const std::string& packet) {
  if (packet == "vCont?" || packet == "vMustReplyEmpty") {
    SendMessage("");
  } else if (packet.starts_with("vCont;c")) {
    ResumeMcu();
  } else if (packet.starts_with("vCont")) {
    // Deliberate: nothing happens; "vCont?" has announced none of them.
  } else if (packet.starts_with("vKill")) {
    SendMessage("OK");  // first: the end of the run takes the connection with it
    on_kill_();
  } else {
    Complain("Unsupported v command " + packet);
    OrvoSignals::Get().terminate.emit(kExitCodeOfUnsupported);
  }
}

// --- Registers -----------------------------------------------------------------------------------
// A client that goes by the target description finds the registers by its numbers, in ascending
// order; any other has the order of an ARM without a description.

// For GDB as the chip shows it to a debugger: pc is even, and the core is in Thumb state. The
// register file keeps neither; GDB would step through the instructions of an ARM.
unsigned GdbServer::RegisterValue(unsigned id) const {
  const unsigned value = mcu_->registers().get(id);
  if (!client_has_description_) return value;
  if (id == kPc) return value & ~1u;
  return id == kXpsr ? value | xpsr::kThumb : value;
}

void GdbServer::AddGeneralRegsToString(std::string* text) const {
  for (unsigned id = kR0; id <= kR12; ++id) *text += intToHex(RegisterValue(id));
  for (const unsigned id : {kSp, kLr, kPc}) *text += intToHex(RegisterValue(id));
}

void GdbServer::AddDescribedRegsToString(std::string* text) const {
  for (const unsigned id : Registers::DescribedIds()) *text += intToHex(RegisterValue(id));
}

void GdbServer::HandleReadRegisters(const std::string&) {
  std::string text;
  {
    const ChipAccess access(*this);
    if (!access) return;
    client_has_description_ ? AddDescribedRegsToString(&text) : AddGeneralRegsToString(&text);
  }
  SendMessage(text);
}

void GdbServer::HandleReadRegister(const std::string& packet) {
  const unsigned id = HexToInt(packet.substr(1));
  if (id > kControl) return SendMessage("00000000");
  unsigned value = 0;
  {
    const ChipAccess access(*this);
    if (!access) return;
    value = RegisterValue(id);
  }
  SendMessage(intToHex(value));
}

// Deliberate: nothing is written.
void GdbServer::HandleWriteRegister(const std::string& packet) {
  TwoNumbers(packet, '=');
  SendMessage("OK");
}

// --- Memory --------------------------------------------------------------------------------------

bool GdbServer::AddByteToString(unsigned address, std::string* text) const {
  MemorySection* section = mcu_->memory().LookUpSection(address);
  if (section == nullptr) return false;
  // Write-only registers can be read, and reading gives no fault.
  struct SudoMode {
    explicit SudoMode(MemorySection* s) : section(s), before(s->sudo()) { s->SetSudoMode(true); }
    ~SudoMode() { section->SetSudoMode(before); }
    MemorySection* section;
    const bool before;
  } const sudo(section);
  try {
    *text += StringToHex(
        std::string(1, static_cast<char>(section->getByte(address - section->start()))));
  } catch (const std::exception&) {  // a block without a model
    return false;
  }
  return true;
}

void GdbServer::HandleReadMemory(const std::string& packet) {
  const auto [address, length_bytes] = TwoNumbers(packet, ',');
  std::string text;
  {
    const ChipAccess access(*this);
    if (!access) return;
    for (unsigned long n = 0; n < length_bytes && address + n < kAddressSpaceBytes; ++n) {
      if (!AddByteToString(static_cast<unsigned>(address + n), &text)) break;
    }
  }
  SendMessage(text.empty() ? "E01" : text);
}

// Deliberate: nothing is written.
void GdbServer::WriteDataToMemory(const std::string& packet) {
  const auto [address, length_bytes] = TwoNumbers(packet.substr(0, packet.find(':')), ',');
  std::cout << "WriteDataToMemory: address 0x" << IntToHex(address) << ", length " << length_bytes
            << std::endl;
  SendMessage("OK");
}

// --- Breakpoints ---------------------------------------------------------------------------------

// "Z0,address,kind" and "z0,address,kind". Deliberate: a type other than 0 (hardware breakpoints
// and watchpoints) ends the run, and a breakpoint outside of the program is acknowledged only.
void GdbServer::HandleBreakpoint(const std::string& packet) {
  const size_t first = packet.find(',');
  const size_t last = packet.rfind(',');
  if (first == last) throw UserError("Not two commas in it");
  const unsigned type = HexToInt(packet.substr(1, first - 1));
  const unsigned address = HexToInt(packet.substr(first + 1, last - first - 1));
  if (type != 0) {
    Complain(packet.front() + (" command - unsupported type: " + std::to_string(type)));
    OrvoSignals::Get().terminate.emit(kExitCodeOfUnsupported);
  } else if (address < kRamStart) {
    packet.front() == 'Z' ? AddBreakpoint(address) : RemoveBreakpoint(address);
  }
  SendMessage("OK");
}

}  // namespace orvo
