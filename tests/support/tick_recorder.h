// A listener that notes when it was called, in a list that several may share.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "time/tick_listener.h"

namespace orvo {

using CallLog = std::vector<std::string>;

class TickRecorder : public TickListener {
 public:
  using Answer = std::function<unsigned long(unsigned long tick)>;

  // Notes the name and the tick: "a@5".
  TickRecorder(std::string name, CallLog* log, Answer answer = {})
      : answer_(std::move(answer)), name_(std::move(name)), log_(log) {}

  unsigned long OnTick(unsigned long tick) override {
    log_->push_back(name_ + "@" + std::to_string(tick));
    return answer_ ? answer_(tick) : 0;
  }

 private:
  Answer answer_;
  std::string name_;
  CallLog* log_;
};

}  // namespace orvo
