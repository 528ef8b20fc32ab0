// What --check-board collects instead of the first error.
#pragma once

#include <string>
#include <vector>

namespace orvo {

// The mistakes in a user's files, in the order in which they were found; each once.
class ProblemList {
 public:
  // The place stands in front of the text, unless the text begins with it.
  void Add(const std::string& document, const std::string& place, std::string text);
  // Whether there is one at the place or below it.
  bool HasBelow(const std::string& place) const;
  const std::vector<std::string>& lines() const { return lines_; }

 private:
  std::vector<std::string> lines_;
};

}  // namespace orvo
