#include "time/frequency.h"

#include <gmock/gmock.h>

#include "runner/errors.h"

namespace orvo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Heard = std::pair<unsigned long, unsigned short>;

struct Ear : FrequencyListener {
  void UpdateInput(unsigned long frequency_hz, unsigned short input_number) override {
    heard.emplace_back(frequency_hz, input_number);
  }
  std::vector<Heard> heard;
};

TEST(FrequencyMux, ANewListenerHearsThePresentFrequencyAtOnce) {
  FrequencyMux mux("SYSCLK", 2, 1);
  mux.UpdateInput(16'000'000, 1);
  Ear ear;
  mux.AddListener(&ear, 3);
  EXPECT_THAT(ear.heard, ElementsAre(Heard(16'000'000, 3)));
}

TEST(FrequencyMux, ForwardsOnlyTheSelectedInput) {
  FrequencyMux mux("SYSCLK", 2, 0);
  Ear first, second;
  mux.AddListener(&first, 1);
  mux.AddListener(&second, 2);
  first.heard.clear();
  second.heard.clear();
  mux.UpdateInput(8, 1);
  EXPECT_THAT(first.heard, IsEmpty());
  mux.UpdateInput(9, 0);
  mux.SetSelection(0);  // selected already
  mux.SetSelection(1);
  EXPECT_THAT(first.heard, ElementsAre(Heard(9, 1), Heard(8, 1)));
  EXPECT_THAT(second.heard, ElementsAre(Heard(9, 2), Heard(8, 2)));
  EXPECT_EQ(mux.output_frequency_hz(), 8u);
  EXPECT_EQ(mux.GetSelectedInput(), 1);
}

TEST(FrequencyMux, MuxesInARowMakeAClockTree) {
  FrequencyMux inner("inner", 1, 0), outer("outer", 2, 1);
  inner.AddListener(&outer, 1);
  inner.UpdateInput(32, 0);
  EXPECT_EQ(outer.output_frequency_hz(), 32u);
}

TEST(FrequencyMux, RefusesInputsThatDoNotExist) {
  FrequencyMux mux("SYSCLK", 2, 0);
  try {
    mux.UpdateInput(1, 2);
    FAIL() << "no error";
  } catch (const OrvoError& error) {
    EXPECT_EQ(error.message(),
              "MuxSelector::UpdateInputFrequency - Got input number that is not exist");
  }
  try {
    mux.SetSelection(2);
    FAIL() << "no error";
  } catch (const OrvoError& error) {
    EXPECT_EQ(error.message(), "Mux::SetOutput - Got input number that is not exist");
  }
}

}  // namespace
}  // namespace orvo
