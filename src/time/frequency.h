// Clock trees: who produces a frequency, who hears of it, and the selector between several.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace orvo {

class FrequencyListener {
 public:
  virtual ~FrequencyListener() = default;
  // `input_number` says which of the listener's inputs has the frequency now.
  virtual void UpdateInput(unsigned long frequency_hz, unsigned short input_number) = 0;
};

class FrequencySender {
 public:
  virtual ~FrequencySender() = default;
  // The listener hears the present frequency at once.
  void AddListener(FrequencyListener* listener, unsigned short input_number);
  unsigned long output_frequency_hz() const { return output_frequency_hz_; }

 protected:
  // Tells every listener, in the order of their addition.
  void SendFrequency(unsigned long frequency_hz);

 private:
  std::vector<std::pair<FrequencyListener*, unsigned short>> listeners_;
  unsigned long output_frequency_hz_ = 0;
};

class FrequencyMux : public FrequencyListener, public FrequencySender {
 public:
  // Throws OrvoError if the selected input doesn't exist.
  FrequencyMux(std::string name, unsigned short input_count, unsigned short selected);

  // Both throw OrvoError for an input that doesn't exist.
  void UpdateInput(unsigned long frequency_hz, unsigned short input_number) override;
  // The present selection tells nobody.
  void SetSelection(unsigned short selected);
  unsigned short GetSelectedInput() const { return selected_; }
  const std::string& name() const { return name_; }

 private:
  void RequireOutput(unsigned short selected) const;

  std::string name_;
  std::vector<unsigned long> input_frequency_hz_;
  unsigned short selected_;
};

}  // namespace orvo
