#include "time/service_tick_function.h"

#include <gmock/gmock.h>

#include "support/error_of.h"
#include "support/tick_recorder.h"
#include "time/clock.h"

namespace orvo {
namespace {

using testing::ElementsAre;

constexpr char kNotFound[] = "OrvoError: CancelFunction of id not found";

// 1000 ns are 64 ticks, whatever the frequency of the clock: it stays 0 here.
struct ServiceTickFunctionTest : testing::Test {
  std::function<void(int)> Note(const std::string& name) {
    return [this, name](int id) {
      log.push_back(name + std::to_string(id) + "@" + std::to_string(clock.ticks()));
    };
  }

  SourceClock clock{"hlck"};
  ServiceTickFunction& service = clock.service();
  CallLog log;
};

TEST_F(ServiceTickFunctionTest, CallsOnceUnderIdsFromOneUpAndAmongEqualTicksInOrder) {
  EXPECT_EQ(service.GoFunction(1000, Note("late"), false, 0), 1);
  EXPECT_EQ(service.GoFunction(999, Note("soon"), false, 0), 2);
  service.GoFunction(
      1000, [&](int) { service.GoFunction(0, Note("at once"), false, 0); }, false, 70);
  service.GoFunction(1000, Note("last"), false, 0);
  clock.Tickrement(200);
  EXPECT_THAT(log, ElementsAre("soon2@63", "late1@64", "last3@64", "at once4@64"));
  for (const int gone : {1, 70, 99}) {
    EXPECT_EQ(ErrorOf([&] { service.CancelFunction(gone); }), kNotFound) << gone;
  }
}

TEST_F(ServiceTickFunctionTest, RepeatsUntilItIsCancelledOncePerTickAtMost) {
  service.GoFunction(1, Note("fast"), true, 5);  // less than a tick: must not hang
  clock.Tickrement(2);
  service.CancelFunction(5);
  const int id = service.GoFunction(1000, Note("r"), true, 0);
  clock.Tickrement(130);
  const GoFunctionData data = service.CancelFunction(id);
  EXPECT_EQ(data.interval_ns, 1000u);
  EXPECT_EQ(data.id, id);
  EXPECT_TRUE(data.repeat);
  clock.Tickrement(200);
  EXPECT_THAT(log, ElementsAre("fast5@1", "fast5@2", "r1@66", "r1@130"));
}

TEST_F(ServiceTickFunctionTest, AnIdThatWasGivenAgainBelongsToTheLaterFunction) {
  service.GoFunction(1000, Note("first"), false, 5);
  service.GoFunction(2000, Note("second"), false, 5);
  clock.Tickrement(100);
  EXPECT_THAT(log, ElementsAre("first5@64"));
  service.CancelFunction(5);
  clock.Tickrement(100);
  EXPECT_EQ(log.size(), 1u);
}

TEST_F(ServiceTickFunctionTest, ARepeatingFunctionMayGiveItselfAnotherIntervalAndEndItself) {
  int calls = 0;
  const auto change = [&](int id) {
    Note("r")(id);
    const GoFunctionData data = service.CancelFunction(id);
    if (++calls == 1) {
      service.GoFunction(2000, data.function, true, id);
    } else {
      EXPECT_EQ(ErrorOf([&] { service.CancelFunction(id); }), kNotFound);
    }
  };
  service.GoFunction(1000, change, true, 7);
  clock.Tickrement(1000);
  EXPECT_THAT(log, ElementsAre("r7@64", "r7@192"));
}

}  // namespace
}  // namespace orvo
