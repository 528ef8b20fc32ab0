#include "memory/memory_section.h"

#include <spdlog/sinks/stdout_color_sinks.h>
#include <spdlog/spdlog.h>

#include <algorithm>
#include <mutex>
#include <nlohmann/json.hpp>
#include <utility>

#include "mcu/mcu.h"
#include "runner/args_manager.h"
#include "runner/errors.h"
#include "runner/logger.h"
#include "runner/text.h"

namespace orvo {

namespace {

// One logger per name in the process, however many memories have a section of that name.
std::shared_ptr<spdlog::logger> LoggerOf(const std::string& name) {
  static std::mutex lock;
  const std::lock_guard guard(lock);
  std::shared_ptr<spdlog::logger> logger = spdlog::get(name);
  if (logger == nullptr) {
    logger = spdlog::stderr_color_mt(name);
    logger->set_level(spdlog::level::warn);
  }
  return logger;
}

void LogSudoModeOnce() {
  static const bool logged = [] {
    logger::debug("SudoMode") << "Run in sudo mode";
    return true;
  }();
  static_cast<void>(logged);
}

// Eight digits, padded with 0.
std::string Word(unsigned value) {
  std::string digits = IntToHex(value);
  return std::string(8 - digits.size(), '0') + digits;
}

}  // namespace

MemorySection::MemorySection(Mcu* mcu, std::string name, unsigned start, unsigned size_bytes)
    : Peripheral(mcu),
      size_(size_bytes),
      start_(start),
      name_(std::move(name)),
      bytes_(new unsigned char[size_bytes]),
      options_connection_(OrvoSignals::Get().options_parsed, [this](ArgsManager& options) {
        if (!options.sudo_mode) return;
        SetSudoMode(true);
        LogSudoModeOnce();
      }) {
  std::fill_n(bytes_.get(), size_, name_ == "Flash" ? 0xff : 0x00);
}

MemorySection::~MemorySection() = default;

// --- Accesses ------------------------------------------------------------------------------------

void MemorySection::wrongAddressAccess(unsigned offset) {
  throw OrvoError("Bad Access, wrong offset 0x" + IntToHex(offset) + " (address: " +
                  IntToHex(start_ + offset) + ") accessed in MemorySection. Section: " + name_);
}

unsigned short MemorySection::getHalfWord(unsigned offset) { return Load<unsigned short>(offset); }

unsigned char MemorySection::getByte(unsigned offset) { return Load<unsigned char>(offset); }

// A plain store where nobody listens costs two tests more than storing.

void MemorySection::set(unsigned offset, unsigned value) {
  own_assign_ ? AssignValue(offset, value) : Store(offset, value);
  if (event_observer_ != nullptr) SignalToPpiIfNeeded(offset, value);
}

void MemorySection::setHalfWord(unsigned offset, unsigned short value) {
  own_assign_ ? AssignHalfWordValue(offset, value) : Store(offset, value);
  if (event_observer_ != nullptr) SignalToPpiIfNeeded(offset, value);
}

void MemorySection::setByte(unsigned offset, unsigned char value) {
  own_assign_ ? AssignByteValue(offset, value) : Store(offset, value);
  if (event_observer_ != nullptr) SignalToPpiIfNeeded(offset, value);
}

void MemorySection::AssignValue(unsigned offset, unsigned value) { Store(offset, value); }

void MemorySection::AssignHalfWordValue(unsigned offset, unsigned short value) {
  Store(offset, value);
}

void MemorySection::AssignByteValue(unsigned offset, unsigned char value) { Store(offset, value); }

void MemorySection::SignalToPpiIfNeeded(unsigned offset, unsigned value) {
  if (event_observer_ == nullptr) return;
  MemoryNotification event{start_ + offset, value, 0};
  event_observer_->UpdateOne(&event);
}

void MemorySection::SwitchBit(unsigned offset, unsigned bit, bool on) {
  if (bit >= 32) return;
  const unsigned others = Load<unsigned>(offset) & ~(1u << bit);
  MemorySection::set(offset, others | static_cast<unsigned>(on) << bit);
}

void MemorySection::TurnOnBitReg(unsigned offset, unsigned bit) { SwitchBit(offset, bit, true); }

void MemorySection::TurnOffBitReg(unsigned offset, unsigned bit) { SwitchBit(offset, bit, false); }

// --- The section as a whole ----------------------------------------------------------------------

void MemorySection::Reset(ResetType) {}

void MemorySection::ApplyConfiguration(const nlohmann::json&) {
  throw OrvoError("MemorySection::ApplyConfiguration must be overridden by the parent class");
}

unsigned MemorySection::GetRegisterSize(unsigned) { return 8; }

void MemorySection::Resize(unsigned size_bytes) {
  const unsigned old_end = end();
  std::unique_ptr<unsigned char[]> bytes(new unsigned char[size_bytes]());
  if (bytes_ != nullptr) std::copy_n(bytes_.get(), std::min(size_, size_bytes), bytes.get());
  bytes_ = std::move(bytes);
  size_ = size_bytes;
  mcu_->memory().UpdateSectionSize(old_end, end(), this);
}

void MemorySection::SetAccessObserver(Observer<MemoryNotification>* observer) {
  access_observer_ = observer;
  mcu_->memory().UpdateWindows();
}

void MemorySection::SetEventObserver(Observer<MemoryNotification>* observer) {
  event_observer_ = observer;
  mcu_->memory().UpdateWindows();
}

void MemorySection::serializeToFile(std::ostream* stream) const {
  *stream << "\n\n" << name_ << ":\n";
  if (bytes_ == nullptr) return;
  unsigned word = 0;
  std::string line;
  for (unsigned offset = 0; offset < size_; ++offset) {
    word = word << 8 | bytes_[offset];
    if (offset % 16 == 0) line += "\n0x" + Word(start_ + offset) + '\t';
    // Deliberate: a size that is no multiple of 4 leaves its last bytes out.
    if (offset % 4 == 3) {
      line += Word(word) + '\t';
      word = 0;
    }
    if (offset % 16 == 15) {
      *stream << line;
      line.clear();
    }
  }
  *stream << line;
}

spdlog::logger& MemorySection::log() {
  if (logger_ == nullptr) logger_ = LoggerOf(name_);
  return *logger_;
}

// --- UnimplementedSection ------------------------------------------------------------------------

void UnimplementedSection::wrongAddressAccess(unsigned offset) {
  throw UnimplementedSectionError("section=" + name() + "\tPC=0x" +
                                  IntToHex(mcu_->registers().pc()) +
                                  "\tTick Count=" + std::to_string(mcu_->clock().TickCount()) +
                                  "\t address=0x" + IntToHex(start() + offset));
}

unsigned UnimplementedSection::get(unsigned offset) {
  wrongAddressAccess(offset);
  return 0;
}

unsigned short UnimplementedSection::getHalfWord(unsigned offset) {
  wrongAddressAccess(offset);
  return 0;
}

unsigned char UnimplementedSection::getByte(unsigned offset) {
  wrongAddressAccess(offset);
  return 0;
}

void UnimplementedSection::set(unsigned offset, unsigned) { wrongAddressAccess(offset); }

void UnimplementedSection::setHalfWord(unsigned offset, unsigned short) {
  wrongAddressAccess(offset);
}

void UnimplementedSection::setByte(unsigned offset, unsigned char) { wrongAddressAccess(offset); }

}  // namespace orvo
