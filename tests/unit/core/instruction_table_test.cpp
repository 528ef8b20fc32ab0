// The keys of the instruction table: exactly those that this core executes, and not one more, for
// a missing key ends the run and an additional one hides that something isn't supported.
#include "core/instruction_table.h"

#include <gmock/gmock.h>

#include <set>
#include <sstream>
#include <vector>

#include "core/decoder.h"
#include "runner/errors.h"

namespace orvo {
namespace {

struct KeyRow {
  const char* names;
  const char* suffixes;  // "-" for a key that is the bare name
};

constexpr char kTwo[] = "_2 _cc_2";
constexpr char kThree[] = "_3 _cc_3";
constexpr char kFour[] = "_4 _cc_4";
constexpr char kTwoAndThree[] = "_2 _3 _cc_2 _cc_3";
constexpr char kList[] = "- _cc _writeback _cc_writeback";

// clang-format off
const KeyRow kKeys[] = {
  {"ldr ldrb ldrh", "_2 _cc_2 _2_writeback _cc_2_writeback _3_writeback _cc_3_writeback _cc_3"},
  {"ldrs",  "_2 _cc_2 _2_writeback _cc_2_writeback"},
  {"ldrsb", "_2 _cc_2 _2_writeback _cc_2_writeback _3 _cc_3 _3_writeback _cc_3_writeback"},
  {"ldrsh", "_2 _cc_2 _2_writeback _cc_2_writeback _cc_3 _3_writeback _cc_3_writeback"},
  {"ldrd strd", "_3 _4 _cc_3 _cc_4 _3_writeback _4_writeback _cc_3_writeback _cc_4_writeback"},
  {"ldrex ldrexb ldrexh vldr", kTwo},
  {"ldm vldmia stm stmdb vstmia", kList},
  {"ldmdb pop vpop push vpush", "- _cc"},
  {"vldmdb vstmdb", "_cc _writeback _cc_writeback"},
  {"str strb strh vstr",
   "_2 _3 _cc_2 _cc_3 _2_writeback _3_writeback _cc_2_writeback _cc_3_writeback"},
  {"strex strexb strexh", kThree},
  {"mov movw movs movt mvn mvns vmov vmov_f32 adr", kTwo},
  {"vmov", kThree},
  {"add adds sub subs and ands orr orrs orn orns eor eors bic bics adc adcs sbc sbcs rsbs",
   kTwoAndThree},
  {"asr asrs lsl lsls lsrs ror rors rrx rrxs", kTwoAndThree},
  {"addw subw", kThree},
  {"rsb", "_2 _3 _cc_3 _2_cc"},
  {"lsr", "_3 _cc_2 _cc_3 -"},
  {"cmp cmn tst teq", kTwo},
  {"mul muls smulbb smusd smusdx smuad smuadx udiv sdiv", kThree},
  {"mla mls umull umlal smull smlal smlsd smlsdx smlald smlaldx smlabb smlabt smlatb smlatt",
   kFour},
  {"ubfx sbfx bfi", kFour},
  {"bfc uxtab uxtah pkhbt pkhtb sel usat uadd8", kThree},
  {"uxtb uxth sxtb sxth sxtb16 clz rbit rev rev16 revsh", kTwo},
  {"sxtab sxtah", kTwoAndThree},
  {"qadd qadd8 qadd16 qsub qsub8 qsub16 qasx qsax shsub16 shasx shsax", kThree},
  {"qdadd", "_3"},
  {"b bl bx blx svc bkpt udf pld hint", "_1 _cc_1"},
  {"cbz cbnz", "_2"},
  {"tbb tbh", "_1"},
  {"sev wfe wfi dsb dmb isb clrex trap", "_0 _cc_0"},
  {"cpsid cpsie", "_0"},
  {"msr mrs vmsr vmrs", kTwo},
  {"nop", "_2 _4 _cc_2 _cc_4"},
  {"it", "-"},
  {"vadd_f32 vsub_f32 vmul_f32 vdiv_f32 vmla_f32 vmls_f32 vnmla_f32 vnmls_f32 vnmul_f32 vfma_f32 "
   "vfms_f32 vfnma_f32 vfnms_f32 vfnmu_f32", "_3 _cc_3"},
  {"vabs_f32 vneg_f32 vsqrt_f32 vcmp_f32 vcmpe_f32 vcvt_s32_f32 vcvt_u32_f32 vcvt_f32_s32 "
   "vcvt_f32_u32 vcvtb_f16_f32", kTwo},
};
// clang-format on

std::set<std::string> ExpectedKeys() {
  std::set<std::string> keys;
  for (const KeyRow& row : kKeys) {
    std::istringstream names(row.names);
    for (std::string name; names >> name;) {
      std::istringstream suffixes(row.suffixes);
      for (std::string suffix; suffixes >> suffix;) {
        keys.insert(suffix == "-" ? name : name + suffix);
      }
    }
  }
  return keys;
}

TEST(InstructionTable, HasTheKeysOfThisCoreAndNoOthers) {
  std::vector<std::string> keys;
  for (const auto& [key, variants] : Instructions().rows()) keys.push_back(key);
  EXPECT_THAT(keys, testing::UnorderedElementsAreArray(ExpectedKeys()));
}

TEST(InstructionTable, RefusesASecondFunctionForAKey) {
  InstructionTable table;
  const Variants variants([] {});
  table.Add("nop_2", variants);
  EXPECT_THROW(table.Add("nop_2", variants), OrvoError);
}

}  // namespace
}  // namespace orvo
