#include "encoding.h"

#include <algorithm>
#include <bit>
#include <cctype>
#include <cstring>
#include <string_view>
#include <utility>

#include "core/mnemonic.h"
#include "core/registers.h"

namespace orvo {
namespace {

constexpr std::pair<std::string_view, unsigned> kNamedRegisters[] = {
    {"sp", kSp}, {"pc", kPc}, {"fpscr", kFpscr}, {"apsr_nzcv", kApsrNzcv}};
constexpr std::string_view kShifts[] = {"", "asr", "lsl", "lsr", "ror"};  // as ShiftType

// B5.1.1, "Special register encodings": numbers of core/registers.h, where they have names there,
// and of the messages that end the run.
constexpr unsigned kSpecialRegisters[] = {256, 260,  263,      266,      0,   kIpsr, 270,
                                          271, kMsp, kPsp,     0,        0,   0,     0,
                                          0,   0,    kPrimask, kBasepri, 276, 277,   kControl};
constexpr unsigned kFloatSystemRegisters[16] = {8, kFpscr, 0, 0, 0, 49, 48, 47, 4, 5, 46};

unsigned CoreRegister(unsigned n) {
  return n == 13 ? kSp : n == 14 ? kLr : n == 15 ? kPc : kR0 + n;
}

Operand OfRegister(unsigned id, OperandType type = OperandType::kRegister) {
  Operand operand;
  operand.type = type;
  operand.reg = id;
  return operand;
}
Operand OfImmediate(unsigned value) {
  Operand operand;
  operand.type = OperandType::kImmediate;
  operand.imm = static_cast<int>(value);
  return operand;
}
Operand OfFloat(double value) {
  Operand operand;
  operand.type = OperandType::kFloat;
  operand.fp = value;
  return operand;
}

// Cuts the text up to a separator off.
std::string_view Cut(std::string_view& text, char separator) {
  const size_t end = std::min(text.find(separator), text.size());
  const std::string_view part = text.substr(0, end);
  text.remove_prefix(std::min(end + 1, text.size()));
  return part;
}
bool Take(std::string_view& text, std::string_view beginning) {
  if (text.substr(0, beginning.size()) != beginning) return false;
  text.remove_prefix(beginning.size());
  return true;
}
unsigned Number(std::string_view& text) {
  unsigned value = 0;
  for (; !text.empty() && std::isdigit(text[0]); text.remove_prefix(1))
    value = 10 * value + static_cast<unsigned>(text[0] - '0');
  return value;
}

// A6.4.1, "VFPExpandImm"
float VfpExpand(unsigned imm8) {
  const unsigned exponent = (imm8 & 0x40) != 0 ? 0x1f : 0x20;  // NOT(b):bbbbb
  return std::bit_cast<float>((imm8 >> 7) << 31 | exponent << 25 | (imm8 & 0x3f) << 19);
}

}  // namespace

// Reads one encoding by one row.
class RowReader {
 public:
  RowReader(const Encoding& encoding, unsigned code, const Place& place)
      : encoding_(encoding), code_(code), place_(place) {}

  Reading Read() {
    MarkIf((code_ & encoding_.should_mask_) != encoding_.should_);
    std::string_view operands = encoding_.row_.operands;
    while (!operands.empty()) AddOperand(Cut(operands, ' '));
    if (index_shift_.shift_type != ShiftType::kNone) {
      reading_.operands[0].shift_type = index_shift_.shift_type;
      reading_.operands[0].shift_amount = index_shift_.shift_amount;
    }
    CheckWriteback();
    std::string_view terms = encoding_.row_.unpredictable;
    while (!terms.empty()) MarkIf(Holds(Cut(terms, ' ')));
    MakeKey();
    return reading_;
  }

 private:
  void MarkIf(bool mark, Validity validity = Validity::kUnpredictable) {
    if (mark) reading_.validity = std::max(reading_.validity, validity);
  }

  // --- Fields and expressions --------------------------------------------------------------------

  unsigned Mask(char letter) const { return encoding_.fields_[static_cast<unsigned char>(letter)]; }
  unsigned Field(char letter) const {
    unsigned value = 0;
    for (unsigned mask = Mask(letter); mask != 0; mask ^= std::bit_floor(mask))
      value = value << 1 | ((code_ & std::bit_floor(mask)) != 0 ? 1 : 0);
    return value;
  }
  unsigned Joined(std::string_view& text) {
    if (std::isdigit(text[0])) return Number(text);
    unsigned value = 0;
    width_ = 0;
    do {
      const unsigned flip = Take(text, "~") ? 1 ^ Field('S') : 0;
      const int width = std::popcount(Mask(text[0]));
      value = value << width | (Field(text[0]) ^ flip);
      width_ += width;
      text.remove_prefix(1);
    } while (Take(text, ":"));
    return value;
  }
  unsigned Term(std::string_view& text) {
    const unsigned value = Joined(text);
    if (Take(text, "*")) return value * Number(text);
    const unsigned if_zero = Take(text, "|") ? Number(text) : 0;
    return value == 0 ? if_zero : value;
  }
  unsigned Value(std::string_view text) {
    unsigned sum = Term(text);
    while (!text.empty())
      sum += Take(text, "-") ? 0 - Term(text) : Term((text.remove_prefix(1), text));
    return sum;
  }
  bool Holds(std::string_view term) {
    const size_t at = term.find_first_of("=!<>");
    const unsigned a = Value(term.substr(0, at));
    const unsigned b = Value(term.substr(at + 1));
    return term[at] == '=' ? a == b : term[at] == '!' ? a != b : term[at] == '<' ? a < b : a > b;
  }
  // A5.3.2, "ThumbExpandImm"
  unsigned ThumbExpand(unsigned imm12) {
    if (imm12 >> 10 != 0) return std::rotr((imm12 & 0x7f) | 0x80, static_cast<int>(imm12 >> 7));
    MarkIf(imm12 >> 8 != 0 && (imm12 & 0xff) == 0);
    constexpr unsigned kRepeat[] = {1, 0x00010001, 0x01000100, 0x01010101};
    return (imm12 & 0xff) * kRepeat[imm12 >> 8];
  }
  unsigned Target(std::string_view text) {
    const bool is_unsigned = Take(text, "+");
    const unsigned halfwords = Value(text);
    const unsigned sign = is_unsigned ? 0 : 1u << (width_ - 1);
    return place_.address + 4 + 2 * ((halfwords ^ sign) - sign);
  }

  // --- Operands ----------------------------------------------------------------------------------

  void AddOperand(std::string_view text) {
    if (text[0] == '{') return AddList(text);
    if (Take(text, ",")) reading_.writeback = true;
    reading_.operands.push_back(text[0] == '['       ? Memory(text)
                                : text[0] == '@'     ? OfImmediate(Target(text.substr(1)))
                                : text.find('#') < 3 ? ImmediateOf(text)
                                : text == "sys"      ? SpecialRegister()
                                                     : ShiftedRegister(text));
  }
  Operand ImmediateOf(std::string_view text) {
    const bool minus = Take(text, "+-") ? Field('U') == 0 : Take(text, "-");
    Take(text, "#");
    if (Take(text, "ThumbExpand"))
      return OfImmediate(ThumbExpand(Value(text.substr(1, text.size() - 2))));
    if (Take(text, "VFPExpand")) return OfFloat(VfpExpand(Value(text.substr(1, text.size() - 2))));
    return OfImmediate(minus ? 0 - Value(text) : Value(text));
  }
  unsigned Register(std::string_view text) {
    for (const auto& [name, id] : kNamedRegisters) {
      if (text == name) return id;
    }
    if (text == "fpsys") return kFloatSystemRegisters[Field('y')];
    const unsigned field = Field(text[1]);
    const unsigned bit = Field(static_cast<char>(std::toupper(text[1])));
    if (text[0] == 'S') return kS0 + 2 * field + bit;
    MarkIf(text[0] == 'D' && bit != 0, Validity::kUndefined);
    if (text[0] == 'D') return kD0 + field;
    MarkIf((field == 13 && text[0] == 'r') || (field == 15 && text[0] != 'R'));
    return CoreRegister(field);
  }
  Operand ShiftedRegister(std::string_view text) {
    const std::string_view name = Cut(text, ',');
    Operand operand = OfRegister(Register(name));
    if (!text.empty()) SetShift(text, &operand);
    if (const size_t mark = name.find('!'); mark != name.npos) {
      const std::string_view moves = name.substr(mark + 1);
      const unsigned n = Field(name[1]);
      reading_.writeback =
          moves.empty() || (moves == "W" ? Field('W') != 0 : (Field('l') >> n & 1) == 0);
      MarkIf(n == 15);
    }
    return operand;
  }
  void SetShift(std::string_view text, Operand* operand) {
    std::string_view name = Cut(text, '#');
    if (name == "shift") {  // A7.4.2, "DecodeImmShift"
      constexpr std::string_view kTypes[] = {"lsl", "lsr", "asr", "ror"};
      name = kTypes[Field('t')];
      text = name == "lsl" || name == "ror" ? "i" : "i|32";
    }
    operand->shift_amount = Value(text);
    operand->shift_type =
        static_cast<ShiftType>(std::find(kShifts, std::end(kShifts), name) - kShifts);
    if (operand->shift_amount != 0) return;
    const bool is_rrx = name == "ror" && Mask('t') != 0;
    operand->shift_type = is_rrx ? ShiftType::kRrx : ShiftType::kNone;
  }
  Operand Memory(std::string_view text) {
    reading_.writeback |= text.back() == '!';
    std::string_view inside = text.substr(1, text.find(']') - 1);
    Operand operand;
    operand.type = OperandType::kMemory;
    operand.mem.base = Register(Cut(inside, ','));
    if (inside.find('#') < 3) {
      operand.mem.displacement = ImmediateOf(inside).imm;
    } else if (!inside.empty()) {
      operand.mem.index = Register(Cut(inside, ','));
      if (!inside.empty()) SetShift(inside, &index_shift_);
    }
    return operand;
  }
  Operand SpecialRegister() {
    const unsigned number = Field('y');
    unsigned id = number < std::size(kSpecialRegisters) ? kSpecialRegisters[number] : 0;
    MarkIf(id == 0, Validity::kUndefined);
    // Of the names with xPSR in them: mask 01 writes GE (_g), 11 both (_nzcvqg).
    if (number <= 3 && Field('k') == 1) id += 1;
    if (number <= 3 && Field('k') == 3) id += number == 0 ? 3 : 2;
    return OfRegister(id, OperandType::kSystemRegister);
  }
  void AddList(std::string_view text) {
    if (text == "{l}") {
      const unsigned list = Field('l') | Field('M') << 14 | Field('P') << 15;
      const int least = encoding_.size_bytes() == 2 ? 1 : 2;
      MarkIf(std::popcount(list) < least || list >> 14 == 3 || (list >> 13 & 1) != 0);
      for (unsigned n = 0; n < 16; ++n) {
        if ((list >> n & 1) != 0) reading_.operands.push_back(OfRegister(CoreRegister(n)));
      }
      return;
    }
    const unsigned first = Register(text.substr(1, 2));
    const unsigned count = Value(text.substr(4, text.size() - 5));
    const unsigned room = (text[1] == 'D' ? kD15 : kS31) + 1 - first;
    MarkIf(count == 0 || count > room);
    for (unsigned n = 0; n < std::clamp(count, 1u, room); ++n)
      reading_.operands.push_back(OfRegister(first + n));
  }
  // A base that moves and is transferred too, or is pc.
  void CheckWriteback() {
    if (!reading_.writeback) return;
    const std::vector<Operand>& operands = reading_.operands;
    const auto is_memory = [](const Operand& operand) {
      return operand.type == OperandType::kMemory;
    };
    const auto memory = std::find_if(operands.begin(), operands.end(), is_memory);
    const bool is_list = memory == operands.end();
    const unsigned base = is_list ? operands[0].reg : memory->mem.base;
    const auto is_base = [base](const Operand& operand) { return operand.reg == base; };
    MarkIf(base == kPc ||
           std::any_of(operands.begin() + (is_list ? 1 : 0), operands.end(), is_base));
  }

  // --- The key -----------------------------------------------------------------------------------

  void MakeKey() {
    std::string_view name = encoding_.row_.name;
    MarkIf(name.empty(), Validity::kUndefined);
    MarkIf(Take(name, "~"));
    const bool not_in_block = Take(name, "!");
    MarkIf(not_in_block && place_.in_block);
    if (!Take(name, "=") && !not_in_block && place_.in_block) reading_.cc = place_.condition + 1;
    std::string& base = reading_.base;
    while (!name.empty()) {
      if (Take(name, "<")) {
        reading_.cc = std::min(Field(Cut(name, '>')[0]) + 1, 15u);
      } else if (Take(name, "{")) {
        base += Alternative(Cut(name, '}'));
      } else {
        base += name[0];
        name.remove_prefix(1);
      }
    }
    std::string& key = reading_.key = base;
    if (key == "nop") key += "_" + std::to_string(encoding_.size_bytes());
    if (key == "it" || base == "nop") return;
    if (reading_.cc != 15) key += "_cc";
    if (!IsListInstruction(base)) key += "_" + std::to_string(reading_.operands.size());
    if (reading_.writeback) key += "_writeback";
  }
  std::string_view Alternative(std::string_view text) {
    if (text == "s") return place_.in_block ? "" : "s";
    if (text == "S") return Field('S') != 0 ? "s" : "";
    unsigned number = Field(text[0]);
    if (text[1] == '?') return number != 0 ? text.substr(2) : "";
    for (text.remove_prefix(2); number > 0; --number) Cut(text, '|');
    const std::string_view choice = Cut(text, '|');
    MarkIf(choice.empty(), Validity::kUndefined);
    return choice;
  }

  const Encoding& encoding_;
  unsigned code_;
  Place place_;
  Reading reading_;
  Operand index_shift_;
  int width_ = 0;  // bits of the fields joined last
};

Encoding::Encoding(const Row& row) : row_(row), size_bytes_(std::strlen(row.bits) == 16 ? 2 : 4) {
  unsigned bit = 1u << (8 * size_bytes_ - 1);
  for (const char* c = row.bits; *c != '\0'; ++c, bit >>= 1) {
    if (*c == '0' || *c == '1') fixed_mask_ |= bit;
    if (*c == 'z' || *c == 'o') should_mask_ |= bit;
    if (*c == '1') fixed_ |= bit;
    if (*c == 'o') should_ |= bit;
    fields_[static_cast<unsigned char>(*c)] |= bit;
  }
}

unsigned Encoding::Filled(unsigned code, bool strictly) const {
  code = (code & ~fixed_mask_) | fixed_;
  return strictly ? (code & ~should_mask_) | should_ : code;
}

Reading Encoding::Read(unsigned code, const Place& place) const {
  return RowReader(*this, code, place).Read();
}

}  // namespace orvo
