#include "analysis/function_tracer.h"

#include <gtest/gtest.h>

#include <sstream>

#include "runner/errors.h"

namespace orvo {
namespace {

// As "objdump -d" prints it.
constexpr char kListing[] =
    "\n"
    "blink.elf:     file format elf32-littlearm\n"
    "\n"
    "Disassembly of section .text:\n"
    "\n"
    "00000400 <main>:\n"
    " 400:\tb510      \tpush\t{r4, lr}\n"
    " 402:\tf000 f801 \tbl\t408 <Led<int>::Set(bool)>\n"
    "00000408 <Led<int>::Set(bool)>:\r\n"
    " 408:\t4770      \tbx\tlr\n"
    "0000040C <delay>:\n"
    " 40c:\t4770      \tbx\tlr ; 00000400 <main>:\n";

FunctionTracer TracerOf(const std::string& text) {
  std::istringstream listing(text);
  return FunctionTracer(listing);
}

std::string Trace(FunctionTracer tracer, std::initializer_list<unsigned> pcs) {
  std::ostringstream out;
  for (const unsigned pc : pcs) tracer.TraceEnterToNewFunction(pc, out);
  return out.str();
}

TEST(FunctionTracer, NamesTheFirstAddressOfAFunction) {
  const FunctionTracer tracer = TracerOf(kListing);
  EXPECT_EQ(tracer.GetFunctionName(0x400), "main");
  EXPECT_EQ(tracer.GetFunctionName(0x408), "Led<int>::Set(bool)");
  EXPECT_EQ(tracer.GetFunctionName(0x40c), "delay");
  EXPECT_EQ(tracer.GetFunctionName(0x402), "unkown");
}

TEST(FunctionTracer, PrintsEachChangeOfTheName) {
  EXPECT_EQ(Trace(TracerOf(kListing), {0x400, 0x402, 0x404, 0x408, 0x404, 0x40c, 0x40c}),
            "Enter function: main\n"
            "Enter function: unkown\n"
            "Enter function: Led<int>::Set(bool)\n"
            "Enter function: unkown\n"
            "Enter function: delay\n");
}

TEST(FunctionTracer, BeginningAwayFromASymbolPrintsALine) {
  EXPECT_EQ(Trace(TracerOf(kListing), {0x404, 0x406}), "Enter function: unkown\n");
}

TEST(FunctionTracer, WithoutSymbolsIsSilent) {
  EXPECT_EQ(Trace(TracerOf("400 main:\n<main>:\n400 <main>\n 400 <main>:\n"), {0x400, 0x404}), "");
  EXPECT_EQ(Trace(FunctionTracer(), {0x400}), "");
}

TEST(FunctionTracer, TheLastOfTwoNamesOfAnAddressStands) {
  EXPECT_EQ(Trace(TracerOf("400 <a>:\n400 <b>:\n"), {0x400}), "Enter function: b\n");
}

TEST(FunctionTracer, AddressOfMoreThan32BitsIsAnError) {
  EXPECT_THROW(TracerOf("ffff000000000400 <main>:\n"), OrvoError);
}

}  // namespace
}  // namespace orvo
