#include "time/frequency.h"

#include <gmock/gmock.h>

#include "support/error_of.h"

namespace orvo {
namespace {

using Heard = std::pair<unsigned long, unsigned short>;

struct Ear : FrequencyListener {
  void UpdateInput(unsigned long frequency_hz, unsigned short input_number) override {
    heard.emplace_back(frequency_hz, input_number);
  }
  std::vector<Heard> heard;
};

TEST(FrequencyMux, TellsThePresentFrequencyAtOnceAndThenThatOfTheSelectedInput) {
  FrequencyMux mux("SYSCLK", 2, 0), next("next", 2, 1);
  mux.UpdateInput(16, 0);
  Ear ear;
  mux.AddListener(&ear, 3);
  mux.AddListener(&next, 1);
  mux.UpdateInput(8, 1);
  mux.UpdateInput(9, 0);
  mux.SetSelection(0);  // selected already
  mux.SetSelection(1);
  EXPECT_THAT(ear.heard, testing::ElementsAre(Heard(16, 3), Heard(9, 3), Heard(8, 3)));
  EXPECT_EQ(mux.GetSelectedInput(), 1);
  EXPECT_EQ(next.output_frequency_hz(), 8u);  // muxes in a row
}

TEST(FrequencyMux, RefusesInputsThatDoNotExist) {
  FrequencyMux mux("SYSCLK", 2, 0);
  EXPECT_EQ(ErrorOf([&] { mux.UpdateInput(1, 2); }),
            "OrvoError: MuxSelector::UpdateInputFrequency - Got input number that is not exist");
  EXPECT_EQ(ErrorOf([&] { mux.SetSelection(2); }),
            "OrvoError: Mux::SetOutput - Got input number that is not exist");
}

}  // namespace
}  // namespace orvo
