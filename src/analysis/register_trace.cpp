#include "analysis/register_trace.h"

#include <fmt/format.h>

#include <bit>
#include <charconv>
#include <iostream>

#include "runner/args_manager.h"
#include "runner/errors.h"

namespace orvo {
namespace {

constexpr unsigned kGeneralRegisters = 13;
constexpr unsigned kFlags = 0xf0000000;  // N, Z, C and V, of xPSR and of FPSCR

constexpr std::string_view kGeneralNames[kGeneralRegisters] = {
    " r0=0x", " r1=0x", " r2=0x", " r3=0x",  " r4=0x",  " r5=0x", " r6=0x",
    " r7=0x", " r8=0x", " r9=0x", " r10=0x", " r11=0x", " r12=0x"};

// In the order of the line.
struct SpecialRegister {
  std::string_view name;
  RegisterId id;
  unsigned mask;
};
constexpr SpecialRegister kSpecialRegisters[] = {
    {" sp=0x", kSp, ~0u},           {" lr=0x", kLr, ~0u},
    {" xpsr=0x", kXpsr, kFlags},    {" msp=0x", kMsp, ~0u},
    {" psp=0x", kPsp, ~0u},         {" primask=0x", kPrimask, ~0u},
    {" basepri=0x", kBasepri, ~0u}, {" faultmask=0x", kFaultmask, ~0u},
    {" control=0x", kControl, ~0u}, {" fpscr=0x", kFpscr, kFlags}};

std::istream* InputDump() {
  std::ifstream& file = ArgsManager::Get().dump_stream;
  return file.is_open() ? &file : nullptr;
}

}  // namespace

RegisterTrace::RegisterTrace() : RegisterTrace(ArgsManager::Get().start_pc, InputDump()) {}

RegisterTrace::RegisterTrace(unsigned start_pc, std::istream* recorded)
    : start_pc_(start_pc), recorded_(recorded), check_log_(start_pc == 0) {
  for (unsigned n = 0; n < floats_.size(); ++n) floats_[n].Set(n, 0);
}

void RegisterTrace::FloatText::Set(unsigned n, unsigned new_bits) {
  bits = new_bits;
  char* const end = text.data() + text.size();
  char* next = fmt::format_to(text.data(), " s{}=", n);
  next = std::to_chars(next, end, std::bit_cast<float>(bits), std::chars_format::fixed, 6).ptr;
  size = static_cast<size_t>(next - text.data());
}

void RegisterTrace::Print(const Registers& registers, std::ostream& stream) {
  Line(registers);
  if (registers.pc() == start_pc_) check_log_ = true;
  if (recorded_ == nullptr || !check_log_) {
    line_ += '\n';
    stream.write(line_.data(), static_cast<std::streamsize>(line_.size()));
    return;
  }
  // Past the end of the file this leaves an empty line, which no line equals.
  recorded_line_.clear();
  std::getline(*recorded_, recorded_line_);
  ++compared_lines_;
  if (recorded_line_ != line_) ReportMismatch();
}

void RegisterTrace::ReportMismatch() {
  std::cerr << "Warning: this run differs from the recorded trace in its line " << compared_lines_;
  if (recorded_->fail()) {
    std::cerr << ", behind its end";
  } else if (recorded_line_.ends_with('\r')) {
    std::cerr << ", which has a DOS line end";
  }
  std::cerr << std::endl;
  recorded_ = nullptr;
  throw OrvoError("Mismatch log file:\r\n" + recorded_line_ + "\r\n" + line_);
}

void RegisterTrace::WarnAboutRest() {
  if (recorded_ == nullptr) return;
  if (compared_lines_ == 0) {
    std::cerr << "Warning: nothing was compared with the recorded trace";
  } else if (recorded_->peek() != std::istream::traits_type::eof()) {
    std::cerr << "Warning: the run ended before the recorded trace, behind its line "
              << compared_lines_;
  } else {
    return;
  }
  std::cerr << std::endl;
}

std::string_view RegisterTrace::Line(const Registers& registers) {
  line_.clear();
  AppendWord("pc=0x", registers.pc());
  Append(" ISRn=");
  Append(fmt::format_int(registers.status() & xpsr::kExceptionNumber).c_str());
  for (unsigned n = 0; n < kGeneralRegisters; ++n)
    AppendWord(kGeneralNames[n], registers.word(kR0 + n));
  for (const SpecialRegister& special : kSpecialRegisters)
    AppendWord(special.name, registers.get(special.id) & special.mask);
  for (unsigned n = 0; n < floats_.size(); ++n) AppendFloat(n, registers.word(kS0 + n));
  return line_;
}

void RegisterTrace::AppendWord(std::string_view name, unsigned value) {
  static constexpr char kDigits[] = "0123456789abcdef";
  char digits[8];
  for (int i = 7; i >= 0; --i, value >>= 4) digits[i] = kDigits[value & 15];
  Append(name);
  Append({digits, sizeof(digits)});
}

void RegisterTrace::AppendFloat(unsigned n, unsigned bits) {
  FloatText& kept = floats_[n];
  if (kept.bits != bits) kept.Set(n, bits);
  Append({kept.text.data(), kept.size});
}

}  // namespace orvo
