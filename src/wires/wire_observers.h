// Who listens on each wire, and the delivery of a batch of events to them.
// Delivery follows the order of attachment. It works on a list of its own, so that an observer may
// drive wires, attach and detach from within Update(). Who detaches meanwhile is still called, and
// so must not be destroyed then.
#pragma once

#include <algorithm>
#include <span>
#include <string>
#include <vector>

#include "memory/observer.h"
#include "runner/errors.h"

namespace orvo {

// Event has the members wire_number and pin_number.
template <class Event>
class WireObservers {
 public:
  explicit WireObservers(unsigned wires) : by_wire_(wires) {}

  // The pin is the number that the observer's events carry. The same pin may stand twice.
  void Connect(Observer<Event>* observer, unsigned wire, unsigned pin) {
    std::vector<Attachment>& attachments = by_wire_[wire];
    const auto place = Find(attachments, observer);
    if (place == attachments.end()) {
      attachments.push_back({observer, {pin}});
    } else {
      place->pins.push_back(pin);
    }
  }

  // Removes every occurrence of the pin. Unknown observers are ignored.
  void Disconnect(Observer<Event>* observer, unsigned wire, unsigned pin) {
    std::vector<Attachment>& attachments = by_wire_[wire];
    const auto place = Find(attachments, observer);
    if (place == attachments.end()) return;
    std::erase(place->pins, pin);
    if (place->pins.empty()) attachments.erase(place);
  }

  // Disconnects the observer from all wires, on all its pins.
  void Forget(const Observer<Event>* observer) {
    for (std::vector<Attachment>& attachments : by_wire_) {
      std::erase_if(attachments, [=](const Attachment& a) { return a.observer == observer; });
    }
  }

  // Calls Update() once on every observer of the wires in the batch. Nobody hears its own event:
  // the source is left out where its pin is the event's, but hears it on its other pins of the
  // wire. Throws UserError if the changes go in a circle.
  void Deliver(std::span<const Event> batch, const Observer<Event>* source) {
    std::vector<Delivery> deliveries;
    for (const Event& event : batch) {
      for (const Attachment& attachment : by_wire_[event.wire_number]) {
        for (const unsigned pin : attachment.pins) {
          if (attachment.observer == source && pin == event.pin_number) continue;
          std::vector<Event>& events = EventsOf(deliveries, attachment.observer);
          events.push_back(event);
          events.back().pin_number = pin;
        }
      }
    }
    if (deliveries.empty()) return;
    const Nesting nesting(nested_);
    if (nested_ > kMostNested) {
      throw UserError("The devices on wire " + std::to_string(batch.front().wire_number) +
                      " drive each other without end");
    }
    for (Delivery& delivery : deliveries) delivery.observer->Update(&delivery.events);
  }

 private:
  struct Attachment {
    Observer<Event>* observer;
    std::vector<unsigned> pins;
  };
  struct Delivery {
    Observer<Event>* observer;
    std::vector<Event> events;
  };

  struct Nesting {
    explicit Nesting(unsigned& deliveries) : nested(deliveries) { ++nested; }
    ~Nesting() { --nested; }
    unsigned& nested;
  };

  // More deliveries within one another than devices in a row on all wires cause.
  static constexpr unsigned kMostNested = 1000;

  static auto Find(std::vector<Attachment>& attachments, const Observer<Event>* observer) {
    return std::find_if(attachments.begin(), attachments.end(),
                        [observer](const Attachment& a) { return a.observer == observer; });
  }

  static std::vector<Event>& EventsOf(std::vector<Delivery>& deliveries,
                                      Observer<Event>* observer) {
    for (Delivery& delivery : deliveries) {
      if (delivery.observer == observer) return delivery.events;
    }
    return deliveries.emplace_back(Delivery{observer, {}}).events;
  }

  std::vector<std::vector<Attachment>> by_wire_;
  unsigned nested_ = 0;  // deliveries at work
};

}  // namespace orvo
