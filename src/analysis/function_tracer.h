// The function trace: a line for each function that is entered, named by the listing that
// "objdump -d" printed.
#pragma once

#include <ostream>
#include <string>
#include <unordered_map>

namespace orvo {

class FunctionTracer {
 public:
  // Reads the --objdump file, if one was given. Throws OrvoError for an address of more than 32 bits.
  FunctionTracer();

  // Called before each instruction. Silent without symbols.
  void TraceEnterToNewFunction(unsigned pc, std::ostream& stream);
  // The function that begins at the address, or "unkown".
  const std::string& GetFunctionName(unsigned pc) const;

 private:
  void Read(std::istream& listing);

  std::unordered_map<unsigned, std::string> functions_;
  // Deliberate: this spelling differs from that of addresses without a symbol, so that a run that
  // begins at one prints a line too.
  std::string last_name_ = "unknown";
};

}  // namespace orvo
