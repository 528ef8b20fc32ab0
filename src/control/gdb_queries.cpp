// What a client asks: features, the target description, threads, and `monitor` commands.
#include <tinyxml2.h>

#include "control/gdb_server.h"
#include "core/registers.h"
#include "mcu/mcu.h"
#include "runner/errors.h"
#include "runner/text.h"

namespace orvo {
namespace {

// Deliberate: the address of the breakpoint that "reset halt" leaves is read from here.
constexpr unsigned kResetBreakpointAddress = 11;

std::string TargetDescription() {
  tinyxml2::XMLDocument document;
  Registers::serializeMetaDataToXml(&document);
  tinyxml2::XMLPrinter printer;
  document.Print(&printer);
  return std::string("<?xml version=\"1.0\"?>\n<!DOCTYPE feature SYSTEM \"gdb-target.dtd\">\n") +
         printer.CStr();
}

// Answers that debug probes give to their commands, in hexadecimal if it is a text to show.
struct MonitorRow {
  const char* command;
  const char* answer;
  bool hex;
};

// Deliberate: the registers are always the same.
constexpr char kRegs[] =
    "R0 = 00000000, R1 = 00000000, R2 = 00000000, R3 = 00000000\n"
    "R4 = 00000000, R5 = 00000000, R6 = 00000000, R7 = 00000000\n"
    "R8 = 00000000, R9 = 00000000, R10= 00000000, R11= 00000000\n"
    "R12= 00000000, R13= 20010000, MSP= 20010000, PSP= 00000000\n"
    "R14(LR) = FFFFFFFF, R15(PC) = 000000D8\n"
    "XPSR 01000000, APSR 00000000, EPSR 01000000, IPSR 00000000\n"
    "CFBP 00000000, CONTROL 00, FAULTMASK 00, BASEPRI 00, PRIMASK 00\n";

// clang-format off
constexpr MonitorRow kMonitorCommands[] = {
    {"speed 1000",                   "Target interface speed set to 1000 kHz", true},
    {"speed auto",                   "Select auto target interface speed (1000 kHz)", true},
    {"clrbp",                        "OK", false},
    {"halt",                         "OK", false},
    {"regs",                         kRegs, true},
    {"flash breakpoints 1",          "Flash breakpoints enabled", true},
    {"semihosting enable",           "Semi-hosting enabled (Handle on BKPT)", true},
    {"semihosting IOClient 1",       "Semihosting I/O set to TELNET Client", true},
    {"SWO DisableTarget 0xFFFFFFFF", "SWO disabled succesfully.", true},
    {"SWO EnableTarget 0 0 0x1 0",   "Failed to enable SWO. Could not measure target CPU frequency.", true},
};
// clang-format on

}  // namespace

// Either a fixed answer or a handler. In order: the first that fits answers.
struct GdbServer::QueryRow {
  const char* text;
  bool whole;  // otherwise the front of the packet is enough
  const char* answer;
  Handler handler;
};

void GdbServer::HandleQuery(const std::string& packet) {
  // clang-format off
  static constexpr QueryRow kQueries[] = {
      {"qSupported:",                    false, nullptr, &GdbServer::HandleSupported},
      {"qXfer:features:read:target.xml", false, nullptr, &GdbServer::XferMsgHandler},
      {"qTStatus",                       true,  "", nullptr},
      {"qfThreadInfo",                   true,  "m0000dead", nullptr},
      {"qsThreadInfo",                   true,  "l", nullptr},
      {"qAttached",                      true,  "", nullptr},
      {"qC",                             true,  "", nullptr},
      {"qRcmd",                          false, nullptr, &GdbServer::RcmdMsgHandler},
      {"qSymbol::",                      true,  "OK", nullptr},
      {"qThreadExtraInfo",               false, "", nullptr},
      {"qP",                             false, "", nullptr},
      {"qOffsets",                       true,  "Text=0;Data=0;Bss=0", nullptr},
  };
  // clang-format on
  for (const QueryRow& row : kQueries) {
    if (row.whole ? packet != row.text : !packet.starts_with(row.text)) continue;
    return row.handler != nullptr ? (this->*row.handler)(packet) : SendMessage(row.answer);
  }
  Complain("unsupported messages: " + packet);
  SendMessage("");
}

void GdbServer::HandleSet(const std::string& packet) {
  if (packet.starts_with("QStartNoAckMode")) SendMessage("OK");
}

void GdbServer::HandleSupported(const std::string& packet) {
  client_wants_description_ = packet.find("xmlRegisters=") != std::string::npos;
  client_has_description_ = false;
  SendMessage(
      "PacketSize=4000;qXfer:memory-map:read-;QStartNoAckMode+;hwbreak+;qXfer:features:read+");
}

// "...:offset,length": that part of the description, with an 'l' in front if nothing is left.
void GdbServer::XferMsgHandler(const std::string& packet) {
  const std::string part = packet.substr(packet.rfind(':') + 1);
  const size_t comma = part.find(',');
  if (comma == std::string::npos) throw UserError("No ',' in it");
  const unsigned long offset = HexToInt(part.substr(0, comma));
  const unsigned long length = HexToInt(part.substr(comma + 1));
  const std::string document = TargetDescription();
  const bool more = offset + length < document.size();
  if (!more && client_wants_description_) client_has_description_ = true;
  SendMessage((more ? "m" : "l") +
              (offset < document.size() ? document.substr(offset, length) : std::string()));
}

// --- monitor -------------------------------------------------------------------------------------

void GdbServer::RcmdMsgHandler(const std::string& packet) {
  const std::string command = packet.size() > 6 ? HexToString(packet.substr(6)) : std::string();
  if (command == "reset halt" || command == "reset") {
    const bool resets_only = command == "reset";
    if (!ResetHalt()) return;
    if (!resets_only || !client_has_description_) SendMessage("OK");
    if (resets_only) SendMessage("Resetting target", true);
    return;
  }
  for (const MonitorRow& row : kMonitorCommands) {
    if (command == row.command) return SendMessage(row.answer, row.hex);
  }
  Complain("Unsupported Rcmd messages: " + command);
  SendMessage("");
}

bool GdbServer::ResetHalt() {
  {
    const ChipAccess access(*this);
    if (!access) return false;
    mcu_->Reset(kSoftwareReset);
    AddBreakpoint(mcu_->memory().get<false>(kResetBreakpointAddress));
  }
  for (const char* text :
       {"Stlink adapter speed set to 1800 kHz", "adapter speed: 1800 kHz",
        "target halted due to debug-request, current mode: Thread xPSR: 0x01000000 pc: 0x0800018c "
        "msp: 0x20020000"}) {
    SendConsoleText(text);
  }
  return true;
}

// In front of a command's answer. GDB takes a packet of digits for the answer itself, and would
// take what follows for the answers of its next requests: it gets a packet of console output.
void GdbServer::SendConsoleText(const std::string& text) {
  if (client_has_description_) {
    SendMessage("O" + StringToHex(text + "\n"));
  } else {
    SendMessage(text, true);
  }
}

}  // namespace orvo
