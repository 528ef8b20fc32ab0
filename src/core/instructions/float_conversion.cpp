// Comparison and conversion of single-precision numbers. Source: ARMv7-M ARM, A7.7, "VCMP, VCMPE",
// "VCVT, VCVTR (between floating-point and integer)", "VCVTB, VCVTT". Not built: rounding by FPSCR,
// fixed point, and half precision but for the one form below.

#include "core/exact_flags.h"
#include "core/instruction_table.h"

namespace orvo {
namespace {

template <Form f>
[[gnu::always_inline]] inline float FloatOperand1() {
  return Int32ToFloat32(static_cast<int>(Second<f>()));
}

// VCMP{E}.F32 Sd, Sm|#0.0. Deliberate: the two are one, IOC comes of any NaN and nothing else
// touches the cumulative flags.
template <Form f>
void vcmpe_f32_2() {
  if (SkippedByCondition<f>()) return;
  const float a = Int32ToFloat32(static_cast<int>(First<f>()));
  const float b = FloatOperand1<f>();
  updateCPSRForF32(a, b, a - b);
  MarkFloatingPoint<f>();
  Advance<f>();
}

// VCVT.S32.F32 Sd, Sm; VCVT.U32.F32 Sd, Sm
template <Form f, auto convert>
void vcvt_from_f32() {
  if (SkippedByCondition<f>()) return;
  const float value = FloatOperand1<f>();
  WriteResult<f>(static_cast<unsigned>(convert(value)));
  registers_->control() |= control::kFpContext;
  Advance<f>();
}

// VCVT.F32.S32 Sd, Sm; VCVT.F32.U32 Sd, Sm
template <Form f, class T>
void vcvt_to_f32() {
  if (SkippedByCondition<f>()) return;
  const long value = static_cast<T>(Second<f>());
  WriteResult<f>(Float32ToUint32(FpuFromInteger(value)));
  registers_->control() |= control::kFpContext;
  Advance<f>();
}

// VCVTB.F16.F32 Sd, Sm: the low half of Sd; the high half stays.
template <Form f>
void vcvtb_f16_f32() {
  if (SkippedByCondition<f>()) return;
  const unsigned high_half = First<f>() & 0xffff0000;
  const unsigned half = Float32ToFloat16(Second<f>());
  WriteResult<f>(high_half | half);
  registers_->control() |= control::kFpContext;
  Advance<f>();
}

template <auto convert>
constexpr auto kFromFloat = []<Form form>() -> Function { return &vcvt_from_f32<form, convert>; };
template <class T>
constexpr auto kToFloat = []<Form form>() -> Function { return &vcvt_to_f32<form, T>; };

}  // namespace

void AddFloatConversions(InstructionTable& table) {
  AddTwoOperandForms<RegisterOrImmediate, kFloatingPoint>(table, "vcmp_f32", FAMILY(vcmpe_f32_2));
  AddTwoOperandForms<RegisterOrImmediate, kFloatingPoint>(table, "vcmpe_f32", FAMILY(vcmpe_f32_2));
  AddTwoOperandForms<RegisterShape>(table, "vcvt_s32_f32", kFromFloat<Float32ToInt32Cast>);
  AddTwoOperandForms<RegisterShape>(table, "vcvt_u32_f32", kFromFloat<Float32ToUint32Cast>);
  AddTwoOperandForms<RegisterShape>(table, "vcvt_f32_s32", kToFloat<int>);
  AddTwoOperandForms<RegisterShape>(table, "vcvt_f32_u32", kToFloat<unsigned>);
  AddTwoOperandForms<RegisterShape>(table, "vcvtb_f16_f32", FAMILY(vcvtb_f16_f32));
}

}  // namespace orvo
