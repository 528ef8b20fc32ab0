// A random walk over all blocks of a chip: each offset read and written at each width, in random
// order, with time passing and interrupts taken in between. Whatever an access sets off, it ends in
// a value, a warning, a fault of the firmware, or an error that names its subject.
//   bin/unit_mcu --gtest_filter='*RegisterWalk*' --gtest_random_seed=S
#include <gmock/gmock.h>

#include <algorithm>
#include <iostream>
#include <random>
#include <set>
#include <streambuf>

#include "config/scenario_file_handler.h"
#include "mcu/platform.h"
#include "runner/errors.h"
#include "support/board_pins.h"
#include "wires/wire_manager.h"

namespace orvo {
namespace {

struct Access {
  unsigned address;
  unsigned char size_bytes;
  bool write;
};

// Counts what the chip says on standard error, and drops it.
class Muted : std::streambuf {
 public:
  Muted() : old_(std::cerr.rdbuf(this)) {}
  ~Muted() override { std::cerr.rdbuf(old_); }

 private:
  int overflow(int c) override { return c; }
  std::streamsize xsputn(const char*, std::streamsize length) override { return length; }

  std::streambuf* old_;
};

class RegisterWalk : public testing::TestWithParam<const char*> {
 protected:
  static constexpr unsigned kRam = 0x20000000;
  static constexpr unsigned kHandler = 0x401;

  RegisterWalk() : random_(Seed()) {
    // All vectors of the table at 0 lead somewhere, where nothing is executed.
    for (unsigned vector = 0; vector < 64; ++vector) {
      mcu_->memory().set<false>(4 * vector, vector == 0 ? kRam + 0x8000 : kHandler);
    }
    mcu_->Reset(kPowerOnReset);
    for (const MemorySection* section : mcu_->memory().GetSections()) {
      if (section->name() == "Flash" || section->name() == "Data RAM") continue;
      for (unsigned offset = 0; offset < section->size(); ++offset) {
        for (const unsigned char size_bytes : {1, 2, 4}) {
          accesses_.push_back({section->start() + offset, size_bytes, false});
          accesses_.push_back({section->start() + offset, size_bytes, true});
        }
      }
    }
    std::shuffle(accesses_.begin(), accesses_.end(), random_);
  }
  ~RegisterWalk() override { Interrupts::mode_ = kThreadMode; }

  static unsigned Seed() {
    const int given = GTEST_FLAG_GET(random_seed);
    return given != 0 ? static_cast<unsigned>(given) : 20240229;
  }

  unsigned Random(unsigned below) { return static_cast<unsigned>(random_() % below); }

  // What starts something, points somewhere, or is the key of AIRCR with SYSRESETREQ.
  unsigned Value() {
    const unsigned values[] = {
        1,          1,           0,          ~0u, 1u << Random(32), kRam + Random(0x10000),
        0x05fa0004, Random(256), Random(~0u)};
    return values[Random(std::size(values))];
  }

  void Carry(const Access& access) {
    Memory& memory = mcu_->memory();
    const unsigned value = Value();
    switch (access.size_bytes) {
      case 1:
        access.write ? memory.setByte<true>(access.address, static_cast<unsigned char>(value))
                     : static_cast<void>(memory.getByte<true>(access.address));
        break;
      case 2:
        access.write ? memory.setHalfWord<true>(access.address, static_cast<unsigned short>(value))
                     : static_cast<void>(memory.getHalfWord<true>(access.address));
        break;
      default:
        access.write ? memory.set<true>(access.address, value)
                     : static_cast<void>(memory.get<true>(access.address));
    }
  }

  // What the run loop does between two instructions; a handler returns at once.
  void Step() {
    if (mcu_->IsPauseState()) mcu_->Resume(false);  // SUDO
    mcu_->clock().Tickrement(static_cast<int>(Random(4)));
    Interrupts& interrupts = mcu_->interrupts();
    if (!interrupts.ExecuteInterruptIfNeeded()) return;
    ++interrupts_taken_;
    if (Interrupts::mode_ == kThreadMode) return;  // it was a reset
    mcu_->registers().pc() = mcu_->registers().lr();
    interrupts.ReturnFromInterruptIfNeeded();
  }

  // A class of ours, or the name of a block or register: three capitals, digits or underscores.
  static bool NamesItsSubject(const std::string& message) {
    const auto of_a_name = [](char c, bool) {
      return (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
    };
    return message.find("::") != std::string::npos ||
           std::search_n(message.begin(), message.end(), 3, true, of_a_name) != message.end() ||
           message == "Case of offset 3 is currently not supported";
  }

  BoardPins board_;
  ScenarioFileHandler scenario_;
  WireManager wires_{nullptr, 200, false, true};
  std::unique_ptr<Mcu> mcu_ = CreateMcu(GetParam(), scenario_, &wires_, nullptr);
  std::mt19937_64 random_;
  std::vector<Access> accesses_;
  unsigned long interrupts_taken_ = 0;
};

TEST_P(RegisterWalk, EveryAccessEndsInAValueAWarningAFaultOrAnErrorWithAName) {
  std::cout << "seed " << Seed() << ", " << accesses_.size() << " accesses" << std::endl;
  unsigned long errors = 0;
  std::set<std::string> nameless;
  {
    const Muted muted;
    for (const Access& access : accesses_) {
      try {
        Carry(access);
        Step();
      } catch (const UserError& error) {
        ++errors;
        if (!NamesItsSubject(error.message())) nameless.insert(error.message());
      }
    }
  }
  std::cout << errors << " errors, " << interrupts_taken_ << " interrupts" << std::endl;
  EXPECT_THAT(nameless, testing::IsEmpty());
  EXPECT_GT(interrupts_taken_, 1000u);
}

INSTANTIATE_TEST_SUITE_P(, RegisterWalk, testing::Values("nrf52832", "nrf52840"),
                         [](const auto& test) { return std::string(test.param); });

}  // namespace
}  // namespace orvo
