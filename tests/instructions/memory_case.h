// A table row of one load or store. All rows start from the same registers and the same memory, and
// name what is different afterwards; everything else has to stay.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <ostream>
#include <string>
#include <vector>

#include "instructions/case_name.h"
#include "support/core_bench.h"

namespace orvo {

// Where r1 and sp point at first.
constexpr unsigned kData = 0x20000100;

// Bytes around kData count up: 0x80 at kData, so that what lies below it has no sign bit.
constexpr unsigned char ByteAt(int offset) { return static_cast<unsigned char>(0x80 + offset); }
constexpr unsigned WordAt(int offset) {
  return ByteAt(offset) | ByteAt(offset + 1) << 8 | ByteAt(offset + 2) << 16 |
         static_cast<unsigned>(ByteAt(offset + 3)) << 24;
}

// r0 is a value, r1 the base, r2 an index; the others hold markers.
constexpr unsigned InitialR(unsigned n) {
  return n == 0 ? 0x11223344u : n == 1 ? kData : n == 2 ? 4u : 0xa0000000u + n;
}
constexpr unsigned InitialS(unsigned n) { return 0x50000000 + n; }
constexpr unsigned kInitialLr = 0xa000000e;

struct Change {
  std::string where;  // "r3", "s2", "sp", "lr", "pc" or "control"
  unsigned value;
};

struct ChangedWord {
  int offset;  // from kData
  unsigned value;
};

struct MemoryCase {
  const char* assembly;
  Code code;
  std::vector<Change> changes = {};
  std::vector<ChangedWord> stores = {};
};

inline std::ostream& operator<<(std::ostream& out, const MemoryCase& c) {
  return out << c.assembly;
}

inline unsigned& RegisterNamed(Registers& registers, const std::string& name) {
  if (name == "sp") return registers.word(kMsp);
  if (name == "lr") return registers.lr();
  if (name == "pc") return registers.pc();
  if (name == "control") return registers.control();
  const unsigned number = static_cast<unsigned>(std::atoi(name.c_str() + 1));
  return name[0] == 's' ? registers.s(number) : registers.r(number);
}

class MemoryBench : public CoreBench {
 public:
  static constexpr int kFirstOffset = -64;
  static constexpr int kEndOffset = 64;

  MemoryBench() {
    for (unsigned n = 0; n <= 12; ++n) r(n) = InitialR(n);
    for (unsigned n = 0; n < 32; ++n) registers().s(n) = InitialS(n);
    registers().lr() = kInitialLr;
    registers().word(kMsp) = kData;
    for (int offset = kFirstOffset; offset < kEndOffset; ++offset) {
      memory().setByte<false>(kData + static_cast<unsigned>(offset), ByteAt(offset));
    }
  }

  unsigned Word(int offset) { return memory().get<false>(kData + static_cast<unsigned>(offset)); }
};

class MemoryTest : public testing::TestWithParam<MemoryCase> {
 protected:
  // Executes the row's code and compares the whole register file and the memory around kData.
  void RunAndCompare() {
    const MemoryCase& row = GetParam();
    Registers expected = bench.registers();
    expected.pc() = CoreBench::kCodeAddress + 2 * static_cast<unsigned>(row.code.size());
    for (const Change& change : row.changes) {
      RegisterNamed(expected, change.where) = change.value;
    }

    bench.Run(row.code);

    for (unsigned id = 0; id < kRegisterCount; ++id) {
      EXPECT_EQ(bench.registers().get(id), expected.get(id)) << "register id " << id;
    }
    for (int offset = MemoryBench::kFirstOffset; offset < MemoryBench::kEndOffset; offset += 4) {
      unsigned word = WordAt(offset);
      for (const ChangedWord& store : row.stores) {
        if (store.offset == offset) word = store.value;
      }
      EXPECT_EQ(bench.Word(offset), word) << "kData + " << offset;
    }
  }

  MemoryBench bench;
};

}  // namespace orvo
