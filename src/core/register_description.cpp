// The registers as a debugger knows them: by the ids of the register file, in GDB's target
// description. Source: the GDB manual, "Target Description Format" and "ARM Features".
#include <tinyxml2.h>

#include <algorithm>
#include <string>

#include "core/registers.h"

namespace orvo {
namespace {

constexpr char kCoreFeature[] = "org.gnu.gdb.arm.m-profile";
constexpr char kSystemFeature[] = "org.gnu.gdb.arm.m-system";
constexpr char kFloatFeature[] = "org.gnu.gdb.arm.m-float";
constexpr char kTypeOfPc[] = "core_ptr";

struct DescribedRegister {
  const char* feature;
  std::string name;
  unsigned id;
  const char* type = "uint32";
};

// The registers of one feature stand together.
const std::vector<DescribedRegister>& DescribedRegisters() {
  static const std::vector<DescribedRegister> registers = [] {
    std::vector<DescribedRegister> rows;
    for (unsigned n = 0; n <= kR12 - kR0; ++n)
      rows.push_back({kCoreFeature, "r" + std::to_string(n), kR0 + n});
    rows.push_back({kCoreFeature, "sp", kSp, "data_ptr"});
    rows.push_back({kCoreFeature, "lr", kLr});
    rows.push_back({kCoreFeature, "pc", kPc, kTypeOfPc});
    rows.push_back({kCoreFeature, "xpsr", kXpsr});
    rows.push_back({kSystemFeature, "msp", kMsp});
    rows.push_back({kSystemFeature, "psp", kPsp});
    rows.push_back({kSystemFeature, "primask", kPrimask});
    rows.push_back({kSystemFeature, "basepri", kBasepri});
    rows.push_back({kSystemFeature, "faultmask", kFaultmask});
    rows.push_back({kSystemFeature, "control", kControl});
    rows.push_back({kFloatFeature, "fpscr", kFpscr});
    for (unsigned n = 0; n <= kS31 - kS0; ++n)
      rows.push_back({kFloatFeature, "s" + std::to_string(n), kS0 + n, "float"});
    return rows;
  }();
  return registers;
}

// Deliberate: pc has a type that GDB doesn't know, and GDB drops a description with an unknown
// type. So the description defines it, as what comes nearest to an address: numbers of 32 bits, of
// which one at least needs a name.
void DefineTypeOfPc(tinyxml2::XMLElement* feature) {
  tinyxml2::XMLElement* type = feature->InsertNewChildElement("enum");
  type->SetAttribute("id", kTypeOfPc);
  type->SetAttribute("size", 4);
  tinyxml2::XMLElement* value = type->InsertNewChildElement("evalue");
  value->SetAttribute("name", "null");
  value->SetAttribute("value", 0);
}

}  // namespace

void Registers::serializeMetaDataToXml(tinyxml2::XMLDocument* document) {
  tinyxml2::XMLElement* target = document->NewElement("target");
  target->SetAttribute("version", "1.0");
  document->InsertEndChild(target);
  target->InsertNewChildElement("architecture")->SetText("arm");
  tinyxml2::XMLElement* feature = nullptr;
  for (const DescribedRegister& row : DescribedRegisters()) {
    if (feature == nullptr || feature->Attribute("name", row.feature) == nullptr) {
      feature = target->InsertNewChildElement("feature");
      feature->SetAttribute("name", row.feature);
      if (row.feature == kCoreFeature) DefineTypeOfPc(feature);
    }
    tinyxml2::XMLElement* reg = feature->InsertNewChildElement("reg");
    reg->SetAttribute("name", row.name.c_str());
    reg->SetAttribute("bitsize", 32);
    reg->SetAttribute("regnum", row.id);
    reg->SetAttribute("type", row.type);
    reg->SetAttribute("group", "general");
  }
}

const std::vector<unsigned>& Registers::DescribedIds() {
  static const std::vector<unsigned> ids = [] {
    std::vector<unsigned> sorted;
    for (const DescribedRegister& row : DescribedRegisters()) sorted.push_back(row.id);
    std::sort(sorted.begin(), sorted.end());
    return sorted;
  }();
  return ids;
}

}  // namespace orvo
