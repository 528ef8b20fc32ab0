// Short on a net of wires.
#include <gtest/gtest.h>

#include <sstream>

#include "devices/short.h"
#include "unit/wires/wire_listener.h"

namespace orvo {
namespace {

// Wires 1 and 2 are driven, or not, before a short joins them: "1-" low, "1i" released again.
struct JoinCase {
  const char* before;
  const char* levels;  // of both afterwards
  const char* rule;
};

constexpr JoinCase kJoinCases[] = {
    {"1- 1i", "--", "idle wires take side 0"},
    {"2- 2i", "++", "not side 1"},
    {"1-", "--", "side 1 follows"},
    {"2-", "--", "side 0 follows"},
    {"1+ 2-", "++", "of two driven sides side 0 wins"},
};

TEST(Short, TakesTheLevelOfTheDrivenSideFirst) {
  for (const JoinCase& test : kJoinCases) {
    WireManager wires(nullptr, 200, false, true);
    LevelListener driver;
    std::istringstream script(test.before);
    for (std::string step; script >> step;) {
      const unsigned wire = step[0] - '0';
      if (step.back() == 'i') {
        wires.SetDirection(&driver, wire, 9, kPinInput, kNoPull);
      } else {
        wires.SetWireLevel(wire, step.back() == '+', 9, false, &driver, false);
      }
    }
    const Short joined(nullptr, wires, 1, 2);
    const std::string levels{wires.GetWireLevel(1) ? '+' : '-', wires.GetWireLevel(2) ? '+' : '-'};
    EXPECT_EQ(levels, test.levels) << test.before << ": " << test.rule;
  }
}

}  // namespace
}  // namespace orvo
