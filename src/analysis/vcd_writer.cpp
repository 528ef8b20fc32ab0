#include "analysis/vcd_writer.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <iostream>

#include "mcu/mcu.h"
#include "runner/errors.h"
#include "wires/wire_manager.h"

namespace orvo {

namespace {

// A number with the printable characters as digits.
std::string Code(size_t number) {
  constexpr size_t kDigits = '~' - '!' + 1;
  std::string code;
  do {
    code += static_cast<char>('!' + number % kDigits);
    number /= kDigits;
  } while (number != 0);
  return code;
}

// A name of the board as a word that no reader takes for syntax.
std::string Word(const std::string& name) {
  std::string word = name;
  std::replace_if(
      word.begin(), word.end(),
      [](unsigned char c) { return std::isalnum(c) == 0 && c != '-' && c != '_'; }, '_');
  return word.empty() ? "_" : word;
}

}  // namespace

VcdWriter::VcdWriter(const std::string& path, Mcu& mcu)
    : path_(path), wires_(*mcu.GetWireManager()), clock_(mcu.clock()) {
  errno = 0;
  file_.open(path, std::ios::trunc);
  if (!file_) throw UserError("--vcd: can't open " + path + ": " + std::strerror(errno));
  for (const auto& [pin, wire] : wires_.pin_names()) AddPin(Word(pin), wire);
  for (const auto& [device, pins] : wires_.device_pins()) {
    for (const auto& [pin, wire] : pins) AddPin(Word(device) + "." + Word(pin), wire);
  }
  const std::string header = Header(false);
  header_length_ = header.size();
  file_ << header;
}

void VcdWriter::AddPin(const std::string& name, unsigned wire_number) {
  if (WireManager::IsSupply(wire_number)) return;
  if (wire_.size() <= wire_number) wire_.resize(wire_number + 1);
  Wire& wire = wire_[wire_number];
  if (wire.codes.empty()) {
    wire.first_level = wire.level = wires_.GetWireLevel(wire_number);
    wires_.ConnectToWireLogicState(this, wire_number, wire_number);
  }
  pins_.push_back({name, Code(pins_.size()), wire_number});
  wire.codes.push_back(pins_.back().code);
}

std::string VcdWriter::Header(bool only_changed) const {
  std::string text = "$version orvo $end\n$timescale 1 ns $end\n$scope module board $end\n";
  std::string levels;
  for (const Pin& pin : pins_) {
    const Wire& wire = wire_[pin.wire];
    if (only_changed && !wire.changed) continue;
    text += "$var wire 1 " + pin.code + " " + pin.name + " $end\n";
    levels += (wire.first_level ? "1" : "0") + pin.code + "\n";
  }
  return text + "$upscope $end\n$enddefinitions $end\n#0\n$dumpvars\n" + levels + "$end\n";
}

void VcdWriter::Update(std::vector<WireLogicLevelEvent>* events) {
  for (const WireLogicLevelEvent& event : *events) {
    Wire& wire = wire_[event.wire_number];
    // Not the event's: an observer may have driven the wire anew before this one was called.
    const bool level = wires_.GetWireLevel(event.wire_number);
    if (level == wire.level) continue;
    wire.level = level;
    wire.changed = any_changed_ = true;
    StampTime();
    for (const std::string& code : wire.codes) file_ << (level ? '1' : '0') << code << '\n';
  }
}

unsigned long VcdWriter::VirtualTimeNs() {
  const unsigned long tick = clock_.TickCount();
  if (frequency_hz_ == 0) frequency_hz_ = clock_.GetFrequency();
  if (frequency_hz_ == 0) return origin_ns_;
  // The product has more than 64 bits after 288 s at 64 MHz.
  const auto product = static_cast<unsigned __int128>(tick - origin_tick_) * 1'000'000'000;
  const unsigned long ns = origin_ns_ + static_cast<unsigned long>(product / frequency_hz_);
  if (clock_.GetFrequency() != frequency_hz_) {
    frequency_hz_ = clock_.GetFrequency();
    origin_tick_ = tick;
    origin_ns_ = ns;
  }
  return ns;
}

void VcdWriter::StampTime() {
  const unsigned long ns = VirtualTimeNs();
  if (ns == stamped_ns_) return;
  stamped_ns_ = ns;
  file_ << '#' << ns << '\n';
}

// A file that can't be written twice, a pipe, keeps the header with all pins.
VcdWriter::~VcdWriter() {
  wires_.Forget(this);
  StampTime();
  file_.flush();
  if (file_.good() && file_.seekp(0).good()) {
    std::string header = Header(any_changed_);
    header.insert(header.size() - 1, header_length_ - header.size(), ' ');
    file_ << header;
  } else if (file_.rdstate() == std::ios::failbit) {
    file_.clear();
  }
  file_.close();
  if (!file_) {
    std::cerr << "Warning: the waveforms are incomplete, " << path_ << " took no more" << std::endl;
  }
}

}  // namespace orvo
