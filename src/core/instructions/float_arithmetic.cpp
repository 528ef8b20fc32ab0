// Single-precision arithmetic. Source: ARMv7-M ARM, A7.7, under the names of the instructions.
// Each operation runs on the host (core/exact_flags.h) with the operands in the order of its
// formula.

#include "core/exact_flags.h"
#include "core/instruction_table.h"

namespace orvo {
namespace {

template <Form f>
[[gnu::always_inline]] inline float FirstFloat() {
  return Int32ToFloat32(static_cast<int>(First<f>()));
}

template <Form f>
[[gnu::always_inline]] inline float SecondFloat() {
  return Int32ToFloat32(static_cast<int>(Second<f>()));
}

// What operand 0 holds before the instruction writes it.
template <Form f>
[[gnu::always_inline]] inline float Destination() {
  if constexpr (f.shape == Shape::kAny) {
    return Int32ToFloat32(static_cast<int>(get_op<0, kValue>()));
  } else {
    return Int32ToFloat32(static_cast<int>(*CurrentInstruction().rd));
  }
}

template <Form f>
[[gnu::always_inline]] inline void WriteFloatAndAdvance(float result) {
  WriteResult<f>(Float32ToUint32(result));
  EndFpuInstruction(result);
  Advance<f>();
}

// The sign bit, NaNs included, without a flag.
float Negated(float value) { return Int32ToFloat32(Float32ToInt32(value) ^ (1 << 31)); }

// VADD.F32 Sd, Sn, Sm
template <Form f>
void vadd_f32_3() {
  if (SkippedByCondition<f>()) return;
  const float n = FirstFloat<f>(), m = SecondFloat<f>();
  WriteFloatAndAdvance<f>(FpuAdd(n, m));
}

// VSUB.F32 Sd, Sn, Sm
template <Form f>
void vsub_f32_3() {
  if (SkippedByCondition<f>()) return;
  const float n = FirstFloat<f>(), m = SecondFloat<f>();
  WriteFloatAndAdvance<f>(FpuSubtract(n, m));
}

// VDIV.F32 Sd, Sn, Sm
template <Form f>
void vdiv_f32_3() {
  if (SkippedByCondition<f>()) return;
  const float n = FirstFloat<f>(), m = SecondFloat<f>();
  WriteFloatAndAdvance<f>(FpuDivide(n, m));
}

// What the instruction makes of the product p and the old destination d.
enum Product : unsigned {
  kAddToD = 1,         // d + p
  kSubtractFromD = 2,  // d - p
  kAddNegated = 4,     // -d - p
  kSubtractD = 8,      // p - d
  kNegate = 16,        // -p
  kPlain = 32,         // p
};

// VMUL, VNMUL, VMLA, VMLS, VNMLA, VNMLS, VFMA, VFMS, VFNMA, VFNMS .F32 Sd, Sn, Sm
// Deliberate: the fused forms round the product as the others do.
template <Form f, Product product>
void vmla_f32_3() {
  if (SkippedByCondition<f>()) return;
  const float n = FirstFloat<f>(), m = SecondFloat<f>(), d = Destination<f>();
  const float p = FpuMultiply(n, m);
  float result = p;
  if constexpr (product == kAddToD) result = FpuAdd(d, p);
  if constexpr (product == kSubtractFromD) result = FpuSubtract(d, p);
  if constexpr (product == kAddNegated) result = FpuSubtract(Negated(d), p);
  if constexpr (product == kSubtractD) result = FpuSubtract(p, d);
  if constexpr (product == kNegate) result = Negated(p);
  WriteFloatAndAdvance<f>(result);
}

// VSQRT.F32 Sd, Sm
template <Form f>
void vsqrt_f32_2() {
  if (SkippedByCondition<f>()) return;
  const float m = SecondFloat<f>();
  WriteFloatAndAdvance<f>(FpuSquareRoot(m));
}

// VABS.F32 Sd, Sm
template <Form f>
void vabs_f32_2() {
  if (SkippedByCondition<f>()) return;
  WriteAndAdvance<f>(Second<f>() & 0x7fffffff);
}

// VNEG.F32 Sd, Sm. Deliberate: CONTROL stays, code that only negates has no floating point context.
template <Form f>
void vneg_f32_2() {
  if (SkippedByCondition<f>()) return;
  WriteAndAdvance<f>(Float32ToUint32(Negated(SecondFloat<f>())));
}

template <Product product>
constexpr auto kProduct = []<Form form>() -> Function { return &vmla_f32_3<form, product>; };

}  // namespace

void AddFloatingPoint(InstructionTable& table) {
  AddThreeOperandForms<RegisterShape>(table, "vadd_f32", FAMILY(vadd_f32_3));
  AddThreeOperandForms<RegisterShape>(table, "vsub_f32", FAMILY(vsub_f32_3));
  AddThreeOperandForms<RegisterShape>(table, "vdiv_f32", FAMILY(vdiv_f32_3));
  AddThreeOperandForms<RegisterShape>(table, "vmul_f32", kProduct<kPlain>);
  AddThreeOperandForms<RegisterShape>(table, "vmla_f32", kProduct<kAddToD>);
  AddThreeOperandForms<RegisterShape>(table, "vfma_f32", kProduct<kAddToD>);
  AddThreeOperandForms<RegisterShape>(table, "vmls_f32", kProduct<kSubtractFromD>);
  AddThreeOperandForms<RegisterShape>(table, "vfms_f32", kProduct<kSubtractFromD>);
  AddThreeOperandForms<RegisterShape>(table, "vnmla_f32", kProduct<kAddNegated>);
  AddThreeOperandForms<RegisterShape>(table, "vfnma_f32", kProduct<kAddNegated>);
  AddThreeOperandForms<RegisterShape>(table, "vnmls_f32", kProduct<kSubtractD>);
  AddThreeOperandForms<RegisterShape>(table, "vfnms_f32", kProduct<kSubtractD>);
  AddThreeOperandForms<RegisterShape>(table, "vnmul_f32", kProduct<kNegate>);
  AddThreeOperandForms<RegisterShape>(table, "vfnmu_f32", kProduct<kNegate>);
  AddTwoOperandForms<RegisterShape>(table, "vsqrt_f32", FAMILY(vsqrt_f32_2));
  AddTwoOperandForms<RegisterShape, kFloatingPoint>(table, "vabs_f32", FAMILY(vabs_f32_2));
  AddTwoOperandForms<RegisterShape>(table, "vneg_f32", FAMILY(vneg_f32_2));
  AddFloatConversions(table);
  AddFloatMoves(table);
}

}  // namespace orvo
