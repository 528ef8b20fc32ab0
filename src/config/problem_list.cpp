#include "config/problem_list.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace orvo {

void ProblemList::Add(const std::string& document, const std::string& place, std::string text) {
  // Some given texts begin with "board.json: ", whatever the name of the file.
  for (const std::string& prefix : {place + ": ", document + ": ", std::string("board.json: ")}) {
    if (text.starts_with(prefix)) text.erase(0, prefix.size());
  }
  std::string line = place + ": " + text;
  if (std::find(lines_.begin(), lines_.end(), line) == lines_.end()) {
    lines_.push_back(std::move(line));
  }
}

bool ProblemList::HasBelow(const std::string& place) const {
  return std::any_of(lines_.begin(), lines_.end(), [&](const std::string& line) {
    return line.starts_with(place) && std::strchr(".[:", line[place.size()]) != nullptr;
  });
}

}  // namespace orvo
