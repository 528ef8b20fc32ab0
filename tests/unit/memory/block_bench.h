// A chip with the test block in it, and a handler that writes down the calls of its operations.
#pragma once

#include <initializer_list>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "runner/text.h"
#include "support/test_mcu.h"
#include "unit/memory/test_block.h"

namespace orvo {

class RecordingBlock : public TestBlock {
 public:
  using TestBlock::TestBlock;

  // The section's accessors, which a shortcut must not reach any more.
  unsigned get(unsigned offset) override {
    ++word_reads;
    return TestBlock::get(offset);
  }
  void set(unsigned offset, unsigned value) override {
    ++word_writes;
    TestBlock::set(offset, value);
  }

  unsigned get_CONTROL(unsigned offset) override {
    Record("get_CONTROL", {offset});
    return control_reads ? *control_reads : TestBlock::get_CONTROL(offset);
  }
  void set_CONTROL(unsigned offset, unsigned value) override {
    Record("set_CONTROL", {offset, value});
    TestBlock::set_CONTROL(offset, value);
  }
  void set_TASKS_GO(unsigned offset, unsigned value) override {
    Record("set_TASKS_GO", {offset, value});
  }
  void set_COMMAND(unsigned offset, unsigned value) override {
    Record("set_COMMAND", {offset, value});
  }
  unsigned get_HALF(unsigned offset) override {
    Record("get_HALF", {offset});
    return TestBlock::get_HALF(offset);
  }
  void set_HALF(unsigned offset, unsigned short value) override {
    Record("set_HALF", {offset, value});
    TestBlock::set_HALF(offset, value);
  }
  void set_BYTE(unsigned offset, unsigned char value) override {
    Record("set_BYTE", {offset, value});
    TestBlock::set_BYTE(offset, value);
  }
  unsigned get_CHANNEL(unsigned offset, unsigned index) override {
    Record("get_CHANNEL", {offset, index});
    return TestBlock::get_CHANNEL(offset, index);
  }
  void set_CHANNEL(unsigned offset, unsigned index, unsigned value) override {
    Record("set_CHANNEL", {offset, index, value});
    TestBlock::set_CHANNEL(offset, index, value);
  }

  std::vector<std::string> calls;
  int word_reads = 0;
  int word_writes = 0;
  std::optional<unsigned> control_reads;  // what CONTROL reads as, if not what is stored

 private:
  // "set_HALF 10 beef": name and arguments in hexadecimal.
  void Record(std::string call, std::initializer_list<unsigned> arguments) {
    for (const unsigned argument : arguments) call += ' ' + IntToHex(argument);
    calls.push_back(call);
  }
};

struct BlockBench {
  static constexpr unsigned kStart = 0x40000000;

  BlockBench() { block->SetResetValues(TestBlock::reset_values()); }

  RecordingBlock* AddBlock() {
    auto* added = new RecordingBlock(&mcu, "BLOCK", kStart, 0x60, InterruptMap(), nlohmann::json());
    mcu.memory().AddSection(added);
    return added;
  }
  Memory& memory() { return mcu.memory(); }
  unsigned Get(unsigned offset) { return memory().get<true>(kStart + offset); }
  void Set(unsigned offset, unsigned value) { memory().set<true>(kStart + offset, value); }
  // What the section's bytes hold, past all operations.
  unsigned Stored(unsigned offset) { return block->MemorySection::get(offset); }
  std::vector<std::string> TakeCalls() { return std::exchange(block->calls, {}); }

  TestMcu mcu;
  RecordingBlock* block = AddBlock();
};

}  // namespace orvo
