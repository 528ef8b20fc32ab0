// An observer of wires that writes down what it hears, for tests.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "wires/wire_types.h"

namespace orvo {

// Every Update() becomes one line, its events separated by spaces.
template <class Event>
class Listener : public Observer<Event> {
 public:
  explicit Listener(std::vector<std::string>* heard = nullptr) : heard_(heard ? heard : &own_) {}

  void Update(std::vector<Event>* events) override {
    std::string line;
    for (const Event& event : *events) line += (line.empty() ? "" : " ") + name + Text(event);
    heard_->push_back(line);
    if (on_update) on_update();
  }

  const std::vector<std::string>& heard() const { return *heard_; }

  std::string name;                 // put before each event
  std::function<void()> on_update;  // runs within Update()

 private:
  static std::string Place(const Event& event) {
    return "wire" + std::to_string(event.wire_number) + ".pin" + std::to_string(event.pin_number);
  }
  // "wire5.pin1=high"
  static std::string Text(const WireLogicLevelEvent& event) {
    const bool consistent = event.voltage == (event.level != 0 ? 3.0 : 0.0);
    return Place(event) + (event.level == 1 ? "=high" : "=low") + (consistent ? "" : "?");
  }
  // "wire5.pin1=text"
  static std::string Text(const WireDataEvent& event) {
    return Place(event) + "=" + std::string(event.data, event.data + event.size);
  }

  std::vector<std::string> own_;
  std::vector<std::string>* heard_;
};

using LevelListener = Listener<WireLogicLevelEvent>;
using DataListener = Listener<WireDataEvent>;

}  // namespace orvo
