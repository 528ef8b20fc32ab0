#include "core/decoder.h"

#include <algorithm>
#include <iostream>
#include <memory>

#include "analysis/elf_handler.h"
#include "core/capstone_resolver.h"
#include "core/decode_tables.h"
#include "core/globals.h"
#include "core/instruction_record.h"
#include "core/instruction_table.h"
#include "core/trace_modes.h"
#include "mcu/mcu.h"
#include "runner/args_manager.h"
#include "runner/errors.h"
#include "runner/text.h"

namespace orvo {
namespace {

// Executes in place of what does not decode.
constexpr char kUndefinedKey[] = "udf_1";
constexpr char kConditionalBranchKey[] = "b_cc_1";

std::unique_ptr<InstructionTable> mnemonic_table_;
std::unique_ptr<CapstoneResolver> capstone_;
std::unique_ptr<DecodeTables> tables_;
bool chaining_allowed_ = false;

[[noreturn]] void ReportUnimplemented(const Disassembly& disassembly, const std::string& key) {
  const unsigned long tick = mcu_->clock().ticks();
  PrintInstruction(disassembly, key);
  CapstoneResolver::print_insn_detail(disassembly, *registers_);
  throw UnimplementedInstructionError("Arm instruction=" + key + "\tPC=0x" +
                                      IntToHex(registers_->pc()) +
                                      "\tTick Count=" + std::to_string(tick));
}

// Bytes of flash from the offset on: reading stays inside the section, whatever the image's end.
size_t BytesFrom(unsigned offset) {
  const unsigned flash_size = memory_->GetSectionByName("Flash")->size();
  return offset < flash_size ? flash_size - offset : 0;
}

// What stands where nothing decodes: a halfword, or both of a 32-bit encoding (ARMv7-M ARM, A5.1).
Disassembly Undecodable(unsigned offset, unsigned pc) {
  Disassembly word;
  word.address = pc;
  const size_t available = BytesFrom(offset);
  if (available < 2) return word;
  const size_t size_bytes = flash_memory_[offset + 1] >= 0xe8 ? 4 : 2;
  std::copy_n(flash_memory_ + offset, std::min(available, size_bytes), word.bytes.begin());
  return word;
}

Function DecoderOfMode(unsigned mode) {
  switch (mode) {
    case 0: return &DisasmblyInstruction<0>;
    case 1: return &DisasmblyInstruction<1>;
    case 2: return &DisasmblyInstruction<2>;
    default: throw OrvoError("Unknown capstone_prints");
  }
}

// Whether an instruction may go on to this pc by itself.
bool LoopNeedNotLookAt(unsigned pc) {
  return (pc & ~flash_address_) <= program_len_ && pc != mcu_->stop_pc;
}

// The function that goes on by itself, null where the loop has to come in between.
Function ChainedFunction(const Variants& variants, Shape shape, my_insn_t& record) {
  if (!chaining_allowed_) return nullptr;
  const unsigned pc = static_cast<unsigned>(record.address);
  if (!LoopNeedNotLookAt(pc + record.size)) return nullptr;
  return variants.ChainedAt(shape, record.size, record.cc);
}

// The comparison in front of a conditional branch that was just decoded takes the branch along from
// now on. Both have run by themselves then.
void PairWithComparison(unsigned offset, const my_insn_t& branch) {
  if (!LoopNeedNotLookAt(static_cast<unsigned>(branch.address))) return;
  for (const unsigned size_bytes : {2u, 4u}) {
    if (offset < size_bytes || tables_->instructions()[offset - size_bytes].size != size_bytes)
      continue;
    Function& entry = tables_->functions()[offset - size_bytes];
    const BranchPairs* pairs = Instructions().FindBranchPairs(entry);
    if (pairs != nullptr) entry = (*pairs)[branch.cc];
  }
}

}  // namespace

void AllowChaining(bool allowed) { chaining_allowed_ = allowed && kTailCalls; }

void InitMnemonic2ArmFunciton() {
  if (mnemonic_table_ != nullptr) return;
  mnemonic_table_ = std::make_unique<InstructionTable>();
  AddArithmetic(*mnemonic_table_);
  AddLogic(*mnemonic_table_);
  AddShifts(*mnemonic_table_);
  AddMultiplications(*mnemonic_table_);
  AddBitFields(*mnemonic_table_);
  AddParallelArithmetic(*mnemonic_table_);
  AddLoadsAndStores(*mnemonic_table_);
  AddBranches(*mnemonic_table_);
  AddSystemInstructions(*mnemonic_table_);
  AddFloatingPoint(*mnemonic_table_);
}

const InstructionTable& Instructions() {
  InitMnemonic2ArmFunciton();
  return *mnemonic_table_;
}

void InitPcOffset2ArmFunction() {
  const Function decoder = DecoderOfMode(ArgsManager::Get().capstone);
  capstone_ = std::make_unique<CapstoneResolver>();
  tables_ = std::make_unique<DecodeTables>(program_len_, decoder);
  ForgetTracedInstructions();
  mcu_->pc_offset_2_arm_function = tables_->functions();
  mcu_->pc_offset_2_my_insn_struct = tables_->instructions();
}

void ReleaseDecodeTables() {
  if (mcu_ != nullptr) {
    mcu_->current_instruction = nullptr;
    mcu_->pc_offset_2_arm_function = nullptr;
    mcu_->pc_offset_2_my_insn_struct = nullptr;
  }
  ForgetTracedInstructions();
  chaining_allowed_ = false;
  tables_.reset();
  capstone_.reset();
}

template <unsigned N>
Function Decode() {
  const unsigned pc = registers_->pc();
  if (code_cover_report_) ElfHandler::MarkAddressAsCovered(pc);
  const unsigned offset = pc & ~flash_address_;
  my_insn_t& record = tables_->Construct(offset);
  Disassembly disassembly;
  std::string key = kUndefinedKey;
  Shape shape = Shape::kAny;
  if (capstone_->Decode(flash_memory_ + offset, BytesFrom(offset), pc, &disassembly)) {
    key = GetMnemonicName(disassembly.parts);
    FillRecord(disassembly, &record);
    shape = SettleShape(record, disassembly.parts.writeback);
  } else {
    disassembly = Undecodable(offset, pc);
    std::cerr << "Warning: invalid instruction at: 0x" << IntToHex(pc) << "\n";
  }
  const Variants* variants = Instructions().Find(key);
  if (variants == nullptr) ReportUnimplemented(disassembly, key);

  const Function function = variants->at(shape, record.size);
  Function& entry = tables_->functions()[offset];
  if constexpr (N != 0) return entry = TraceFunction(N, offset, disassembly, key, function);

  const Function chained = ChainedFunction(*variants, shape, record);
  entry = chained != nullptr ? chained : function;
  if (chained != nullptr && key == kConditionalBranchKey) PairWithComparison(offset, record);
  return entry;
}

// In the place of its frame, which would pile up with each address that a chain meets.
template <unsigned N>
void DisasmblyInstruction() {
  Decode<N>()();
}

template void DisasmblyInstruction<0>();
template void DisasmblyInstruction<1>();
template void DisasmblyInstruction<2>();

}  // namespace orvo
