// Typed reading of JSON documents, and of the files that hold them.
#include "config/json_place.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <limits>
#include <set>
#include <utility>

#include "runner/errors.h"

namespace orvo {

namespace {

// Copying a document takes host stack for each level; no board needs more than a few.
constexpr int kDeepest = 100;

const char* WithArticle(const nlohmann::json& value) {
  switch (value.type()) {
    case nlohmann::json::value_t::null:
      return "null";
    case nlohmann::json::value_t::object:
      return "an object";
    case nlohmann::json::value_t::array:
      return "an array";
    case nlohmann::json::value_t::string:
      return "a string";
    case nlohmann::json::value_t::boolean:
      return "a boolean";
    default:
      return "a number";
  }
}

}  // namespace

JsonPlace::JsonPlace(const nlohmann::json& value, std::string document, std::string path)
    : value_(value), document_(std::move(document)), path_(std::move(path)) {}

bool JsonPlace::Has(const std::string& key) const {
  if (value_.is_null()) return false;
  const auto member = Object().find(key);
  return member != value_.end() && !member->is_null();
}

JsonPlace JsonPlace::operator[](const std::string& key) const {
  const auto member = Object().find(key);
  if (member == value_.end()) throw UserError(Place() + ": the key \"" + key + "\" is missing");
  return JsonPlace(*member, document_, path_.empty() ? key : path_ + "." + key);
}

std::vector<JsonPlace> JsonPlace::Elements() const {
  if (!value_.is_array() && !value_.is_object()) Fail("an array");
  std::vector<JsonPlace> elements;
  elements.reserve(value_.size());
  for (const auto& [key, element] : value_.items()) {
    const bool by_key = value_.is_object() && !path_.empty();
    const std::string suffix = value_.is_array() ? "[" + key + "]" : by_key ? "." + key : key;
    elements.emplace_back(element, document_, path_ + suffix);
  }
  return elements;
}

const std::string& JsonPlace::String() const {
  if (!value_.is_string()) Fail("a string");
  return value_.get_ref<const std::string&>();
}

bool JsonPlace::Bool() const {
  if (!value_.is_boolean()) Fail("true or false");
  return value_.get<bool>();
}

double JsonPlace::Number() const {
  if (!value_.is_number()) Fail("a number");
  return value_.get<double>();
}

template <class T>
T JsonPlace::Integer(T lowest, T highest) const {
  const bool fits =
      value_.is_number_unsigned()  ? std::cmp_less_equal(value_.get<unsigned long>(), highest)
      : value_.is_number_integer() ? std::cmp_greater_equal(value_.get<long>(), lowest) &&
                                         std::cmp_less_equal(value_.get<long>(), highest)
                                   : false;
  if (!fits) {
    Fail("an integer from " + std::to_string(lowest) + " to " + std::to_string(highest));
  }
  return value_.get<T>();
}

int JsonPlace::Int32() const {
  return Integer(std::numeric_limits<int>::min(), std::numeric_limits<int>::max());
}

unsigned JsonPlace::Unsigned32() const { return Integer(0u, std::numeric_limits<unsigned>::max()); }

unsigned long JsonPlace::Unsigned64() const {
  return Integer(0ul, std::numeric_limits<unsigned long>::max());
}

const nlohmann::json& JsonPlace::Object() const {
  if (!value_.is_object()) Fail("an object");
  return value_;
}

const nlohmann::json& JsonPlace::Array() const {
  if (!value_.is_array()) Fail("an array");
  return value_;
}

std::string JsonPlace::Text() const {
  if (value_.is_number()) return std::to_string(value_.get<double>());
  if (!value_.is_string()) Fail("a string or a number");
  return value_.get<std::string>();
}

void JsonPlace::Fail(const std::string& expected) const {
  std::string found = WithArticle(value_);
  if (value_.is_number()) found = value_.dump();
  throw UserError(Place() + ": expected " + expected + ", found " + found);
}

std::string JsonPlace::Place() const {
  return path_.empty() ? document_ : document_ + ": " + path_;
}

nlohmann::json ReadJsonFile(const std::string& path) {
  errno = 0;
  std::ifstream file(path);
  if (!file) throw UserError(path + ": can't be opened: " + std::strerror(errno));
  // The library's errors name line and column; reading a directory ends here too. Of two equal keys
  // it would take the last in silence.
  using Event = nlohmann::json::parse_event_t;
  std::vector<std::set<std::string>> keys;  // of the objects that are open
  const auto accept = [&](int depth, Event event, nlohmann::json& value) {
    if (depth > kDeepest)
      throw UserError("nested deeper than " + std::to_string(kDeepest) + " levels");
    if (event == Event::object_start) keys.emplace_back();
    if (event == Event::object_end) keys.pop_back();
    if (event == Event::key && !keys.back().insert(value).second)
      throw UserError("the key " + value.dump() + " stands twice in one object");
    return true;
  };
  try {
    return nlohmann::json::parse(file, accept);
  } catch (const UserError& error) {
    throw UserError(path + ": " + error.message());
  } catch (const std::exception& error) {
    throw UserError(path + ": " + error.what());
  }
}

}  // namespace orvo
