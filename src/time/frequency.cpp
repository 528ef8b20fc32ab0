#include "time/frequency.h"

#include "runner/errors.h"

namespace orvo {

void FrequencySender::AddListener(FrequencyListener* listener, unsigned short input_number) {
  listeners_.emplace_back(listener, input_number);
  listener->UpdateInput(output_frequency_hz_, input_number);
}

void FrequencySender::SendFrequency(unsigned long frequency_hz) {
  output_frequency_hz_ = frequency_hz;
  // By index: who hears of it may add a further listener.
  for (size_t i = 0; i < listeners_.size(); ++i) {
    listeners_[i].first->UpdateInput(frequency_hz, listeners_[i].second);
  }
}

FrequencyMux::FrequencyMux(std::string name, unsigned short input_count, unsigned short selected)
    : name_(std::move(name)), input_frequency_hz_(input_count), selected_(selected) {
  RequireOutput(selected);
}

void FrequencyMux::RequireOutput(unsigned short selected) const {
  if (selected >= input_frequency_hz_.size()) {
    throw OrvoError("Mux::SetOutput - Got input number that is not exist");
  }
}

void FrequencyMux::UpdateInput(unsigned long frequency_hz, unsigned short input_number) {
  if (input_number >= input_frequency_hz_.size()) {
    throw OrvoError("MuxSelector::UpdateInputFrequency - Got input number that is not exist");
  }
  input_frequency_hz_[input_number] = frequency_hz;
  if (input_number == selected_) SendFrequency(frequency_hz);
}

void FrequencyMux::SetSelection(unsigned short selected) {
  RequireOutput(selected);
  if (selected == selected_) return;
  selected_ = selected;
  SendFrequency(input_frequency_hz_[selected]);
}

}  // namespace orvo
