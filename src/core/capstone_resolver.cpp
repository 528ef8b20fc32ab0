#include "core/capstone_resolver.h"

#include <capstone/capstone.h>

#include <algorithm>
#include <cstdio>
#include <utility>

#include "core/registers.h"
#include "runner/errors.h"

namespace orvo {
namespace {

constexpr unsigned char kNop[] = {0x00, 0xbf};

// The library's system register ids to ours; -1 for registers that a Cortex-M4 doesn't have.
int OurSystemRegister(int id) {
  if (id >= 272 && id <= 281) return id - 3;  // IPSR to CONTROL
  switch (id) {
    // clang-format off
    case 256: case 257: case 259: case 260: case 261: case 262: return id;
    case 258: return 256;  // apsr_nzcvq, the plain name of APSR
    case 263: return 260;  case 264: return 263;  case 265: return 264;
    case 266: return 265;  case 267: return 263;  case 268: return 266;
    case 269: return 267;  case 270: return 268;  case 271: return 266;
    default: return -1;
      // clang-format on
  }
}

unsigned HalfWord(const cs_insn& insn, unsigned n) {
  return insn.bytes[2 * n] | static_cast<unsigned>(insn.bytes[2 * n + 1]) << 8;
}

// MRS and MSR of the other profiles (banked registers, odd fields) share the encoding space.
// ARMv7-M ARM, B5.2.2, B5.2.3.
bool IsSystemMoveOfThisProfile(const cs_insn& insn) {
  const unsigned first = HalfWord(insn, 0);
  const unsigned second = HalfWord(insn, 1);
  if ((second & 0xf000) != 0x8000 || (second & 0x20) != 0) return false;
  if (insn.id == ARM_INS_MRS) return first == 0xf3ef;
  const unsigned mask = (second >> 10) & 3;
  return (first & 0xfff0) == 0xf380 && mask != 0 && (mask == 2 || (second & 0xff) <= 3);
}

// Advanced SIMD, which the library decodes and a Cortex-M4 doesn't have: its encodings, and the
// registers D16 to D31 and Q0 to Q15.
bool IsAdvancedSimd(const cs_insn& insn) {
  if (insn.mnemonic[0] != 'v') return false;
  const unsigned top = insn.bytes[1];
  if (insn.size == 4 && (top == 0xef || top == 0xff || top == 0xf9)) return true;
  const cs_arm& arm = insn.detail->arm;
  for (unsigned n = 0; n < arm.op_count; ++n) {
    if (arm.operands[n].type != ARM_OP_REG) continue;
    const int reg = arm.operands[n].reg;
    if ((reg >= ARM_REG_D16 && reg <= ARM_REG_D31) || (reg >= ARM_REG_Q0 && reg <= ARM_REG_Q15))
      return true;
  }
  return false;
}

// CLZ, RBIT and REV carry their source twice. Where the two differ, which is UNPREDICTABLE, the
// library mixes them.
bool IsInconsistent(const cs_insn& insn) {
  switch (insn.id) {
    case ARM_INS_CLZ:
    case ARM_INS_RBIT:
    case ARM_INS_REV:
    case ARM_INS_REV16:
    case ARM_INS_REVSH: break;
    default: return false;
  }
  return insn.size == 4 && ((HalfWord(insn, 0) ^ HalfWord(insn, 1)) & 15) != 0;
}

bool BelongsToThisCore(const cs_insn& insn) {
  if (insn.id == ARM_INS_MRS || insn.id == ARM_INS_MSR) return IsSystemMoveOfThisProfile(insn);
  return !IsAdvancedSimd(insn) && !IsInconsistent(insn);
}

// False for a system register that doesn't exist here.
bool TranslateOperand(const cs_arm_op& from, Operand* to) {
  to->type = static_cast<OperandType>(from.type);
  to->shift_type = static_cast<ShiftType>(from.shift.type);
  to->shift_amount = from.shift.value;
  switch (from.type) {
    case ARM_OP_REG:
      to->reg = static_cast<unsigned>(from.reg);
      break;
    case ARM_OP_IMM:
      to->imm = from.imm;
      break;
    case ARM_OP_FP:
      to->fp = from.fp;
      break;
    case ARM_OP_MEM:
      to->mem = {static_cast<unsigned>(from.mem.base), static_cast<unsigned>(from.mem.index),
                 from.mem.disp, from.mem.scale};
      break;
    case ARM_OP_SYSREG: {
      const int id = OurSystemRegister(from.reg);
      if (id < 0) return false;
      to->reg = static_cast<unsigned>(id);
      break;
    }
    default:
      break;
  }
  return true;
}

unsigned AdvancedItState(unsigned it) {
  return (it & 7u) == 0 ? 0 : (it & 0xe0u) | ((it << 1) & 0x1fu);
}

}  // namespace

CapstoneResolver::CapstoneResolver() {
  if (cs_open(CS_ARCH_ARM, static_cast<cs_mode>(CS_MODE_THUMB | CS_MODE_MCLASS), &handle_) !=
      CS_ERR_OK)
    throw OrvoError("Capstone not found");
  // Detail must be on before cs_malloc, which allocates room for it only then.
  if (cs_option(handle_, CS_OPT_DETAIL, CS_OPT_ON) != CS_ERR_OK ||
      (insn_ = cs_malloc(handle_)) == nullptr) {
    cs_close(&handle_);
    throw OrvoError("Capstone not found");
  }
}

CapstoneResolver::~CapstoneResolver() {
  cs_free(insn_, 1);
  cs_close(&handle_);
}

bool CapstoneResolver::TryLength(const unsigned char* bytes, size_t length, unsigned address) {
  const unsigned char* code = bytes;
  uint64_t at = address;
  // Unlike cs_disasm, this keeps the handle's IT state from call to call.
  return cs_disasm_iter(handle_, &code, &length, &at, insn_);
}

void CapstoneResolver::SetItState(unsigned it_state) {
  if (it_state == 0 && !handle_in_block_) return;
  cs_insn* cleared = nullptr;
  if (cs_disasm(handle_, kNop, sizeof(kNop), 0, 1, &cleared) != 0) cs_free(cleared, 1);
  handle_in_block_ = it_state != 0;
  if (it_state == 0) return;
  // An `it` whose condition and mask are what remains of the block.
  const unsigned char it[] = {static_cast<unsigned char>(it_state), 0xbf};
  TryLength(it, sizeof(it), 0);
}

bool CapstoneResolver::Decode(const unsigned char* bytes, size_t available, unsigned address,
                              Disassembly* out) {
  if (available < 2) return false;
  const auto open_block = open_blocks_.find(address);
  unsigned it_state = open_block == open_blocks_.end() ? 0 : open_block->second;
  SetItState(it_state);

  const size_t guess = (bytes[1] & 0xf0) == 0xf0 ? 4 : 2;
  // The second attempt catches the 32-bit encodings that begin with 0xE8 to 0xEF.
  if (!(guess <= available && TryLength(bytes, guess, address)) &&
      !(available >= 4 && TryLength(bytes, 4, address)))
    return false;

  if (insn_->id != ARM_INS_IT) {
    it_state = AdvancedItState(it_state);
  } else if (it_state == 0) {  // a nested `it`, UNPREDICTABLE, takes no slot
    it_state = insn_->bytes[0];
    handle_in_block_ = true;
  }
  if ((it_state & 15u) != 0) open_blocks_[address + insn_->size] = it_state;
  return BelongsToThisCore(*insn_) && Translate(out);
}

bool CapstoneResolver::Translate(Disassembly* out) const {
  const cs_insn& insn = *insn_;
  const cs_arm& arm = insn.detail->arm;
  out->parts = {insn.mnemonic, insn.size, static_cast<unsigned>(arm.cc), arm.op_count,
                arm.writeback};
  out->operand_text = insn.op_str;
  out->address = static_cast<unsigned>(insn.address);
  out->bytes.fill(0);
  std::copy_n(insn.bytes, insn.size, out->bytes.begin());
  out->operands.assign(arm.op_count, {});
  for (unsigned n = 0; n < arm.op_count; ++n) {
    if (!TranslateOperand(arm.operands[n], &out->operands[n])) return false;
  }
  // The shift of a memory index stands in the operand in front of the memory operand.
  if (arm.op_count >= 2 && out->operands[0].type == OperandType::kRegister &&
      out->operands[1].type == OperandType::kMemory &&
      out->operands[1].shift_type != ShiftType::kNone) {
    out->operands[0].shift_type = std::exchange(out->operands[1].shift_type, ShiftType::kNone);
    out->operands[0].shift_amount = std::exchange(out->operands[1].shift_amount, 0);
  }
  return true;
}

void CapstoneResolver::print_insn_detail(const Disassembly& insn, const Registers& registers) {
  for (size_t n = 0; n < insn.operands.size(); ++n) {
    const Operand& operand = insn.operands[n];
    std::printf("\t\toperands[%zu]: ", n);
    switch (operand.type) {
      case OperandType::kRegister:
        std::printf("REG %u = 0x%x\n", operand.reg, registers.get(operand.reg));
        break;
      case OperandType::kSystemRegister:
        std::printf("SYSREG %u = 0x%x\n", operand.reg, registers.get(operand.reg));
        break;
      case OperandType::kImmediate:
        std::printf("IMM = 0x%x\n", static_cast<unsigned>(operand.imm));
        break;
      case OperandType::kFloat:
        std::printf("FP = %f\n", operand.fp);
        break;
      case OperandType::kMemory:
        std::printf("MEM base %u = 0x%x, index %u = 0x%x, disp %d\n", operand.mem.base,
                    registers.get(operand.mem.base), operand.mem.index,
                    registers.get(operand.mem.index), operand.mem.displacement);
        break;
      default:
        std::printf("type %u\n", static_cast<unsigned>(operand.type));
    }
  }
}

}  // namespace orvo
