// Typed reading of JSON documents, and of the files that hold them.
#include "config/json_place.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
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

const nlohmann::json kNull;

}  // namespace

JsonPlace::JsonPlace(const nlohmann::json& value, std::string document, std::string path,
                     ProblemList* problems)
    : value_(value), document_(std::move(document)), path_(std::move(path)), problems_(problems) {}

bool JsonPlace::Has(const std::string& key) const {
  if (value_.is_null()) return false;
  const nlohmann::json& object = Object();
  const auto member = object.find(key);
  return member != object.end() && !member->is_null();
}

JsonPlace JsonPlace::operator[](const std::string& key) const {
  const nlohmann::json& object = Object();
  const auto member = object.find(key);
  const bool found = member != object.end();
  if (!found && value_.is_object()) {
    Report(Place() + ": the key \"" + key + "\" is missing");
  }
  JsonPlace place(found ? *member : kNull, document_, path_.empty() ? key : path_ + "." + key,
                  problems_);
  place.reported_ = !found;
  return place;
}

JsonPlace JsonPlace::Missing(const std::string& key, const std::string& text) const {
  JsonPlace place(kNull, document_, path_.empty() ? key : path_ + "." + key, problems_);
  place.Report(text);
  place.reported_ = true;
  return place;
}

std::vector<JsonPlace> JsonPlace::Elements() const {
  std::vector<JsonPlace> elements;
  if (!value_.is_array() && !value_.is_object()) {
    ReportExpected("an array");
    return elements;
  }
  elements.reserve(value_.size());
  for (const auto& [key, element] : value_.items()) {
    const bool by_key = value_.is_object() && !path_.empty();
    const std::string suffix = value_.is_array() ? "[" + key + "]" : by_key ? "." + key : key;
    elements.emplace_back(element, document_, path_ + suffix, problems_);
  }
  return elements;
}

const std::string& JsonPlace::String() const {
  static const std::string nothing;
  if (value_.is_string()) return value_.get_ref<const std::string&>();
  ReportExpected("a string");
  return nothing;
}

bool JsonPlace::Bool() const {
  if (value_.is_boolean()) return value_.get<bool>();
  ReportExpected("true or false");
  return false;
}

double JsonPlace::Number() const {
  if (value_.is_number()) return value_.get<double>();
  ReportExpected("a number");
  return 0;
}

template <class T>
T JsonPlace::Integer(T lowest, T highest) const {
  const bool fits =
      value_.is_number_unsigned()  ? std::cmp_less_equal(value_.get<unsigned long>(), highest)
      : value_.is_number_integer() ? std::cmp_greater_equal(value_.get<long>(), lowest) &&
                                         std::cmp_less_equal(value_.get<long>(), highest)
                                   : false;
  if (fits) return value_.get<T>();
  ReportExpected("an integer from " + std::to_string(lowest) + " to " + std::to_string(highest));
  return 0;
}

int JsonPlace::Int32() const {
  return Integer(std::numeric_limits<int>::min(), std::numeric_limits<int>::max());
}

unsigned JsonPlace::Unsigned32() const { return Integer(0u, std::numeric_limits<unsigned>::max()); }

unsigned long JsonPlace::Unsigned64() const {
  return Integer(0ul, std::numeric_limits<unsigned long>::max());
}

const nlohmann::json& JsonPlace::Object() const {
  static const nlohmann::json nothing = nlohmann::json::object();
  if (value_.is_object()) return value_;
  ReportExpected("an object");
  return nothing;
}

const nlohmann::json& JsonPlace::Array() const {
  static const nlohmann::json nothing = nlohmann::json::array();
  if (value_.is_array()) return value_;
  ReportExpected("an array");
  return nothing;
}

std::string JsonPlace::Text() const {
  if (value_.is_number()) return std::to_string(value_.get<double>());
  if (value_.is_string()) return value_.get<std::string>();
  ReportExpected("a string or a number");
  return "";
}

void JsonPlace::Warn(const std::string& text) const {
  if (problems_ != nullptr) std::cerr << "Warning: " << Place() << ": " << text << std::endl;
}

void JsonPlace::WarnOfOtherKeys(const std::vector<std::string_view>& known) const {
  if (problems_ == nullptr || !value_.is_object()) return;
  for (const auto& [key, value] : value_.items()) {
    if (std::find(known.begin(), known.end(), key) != known.end()) continue;
    Warn("nothing reads the key \"" + key + '"');
  }
}

std::string JsonPlace::Expected(const std::string& expected) const {
  const std::string found = value_.is_number() ? value_.dump() : WithArticle(value_);
  return Place() + ": expected " + expected + ", found " + found;
}

void JsonPlace::Fail(const std::string& expected) const { throw UserError(Expected(expected)); }

void JsonPlace::ReportExpected(const std::string& expected) const {
  if (!reported_) Report(Expected(expected));
}

void JsonPlace::Report(const std::string& text) const {
  if (problems_ == nullptr) throw UserError(text);
  problems_->Add(document_, Place(), text);
}

bool JsonPlace::HasProblems() const { return problems_ != nullptr && problems_->HasBelow(Place()); }

std::string JsonPlace::Place() const {
  return path_.empty() ? document_ : document_ + ": " + path_;
}

nlohmann::json ReadJsonFile(const std::string& path, ProblemList* problems) {
  const JsonPlace root(kNull, path, "", problems);
  errno = 0;
  std::ifstream file(path);
  if (!file) {
    root.Report(path + ": can't be opened: " + std::strerror(errno));
    return nullptr;
  }
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
      root.Report(path + ": the key " + value.dump() + " stands twice in one object");
    return true;
  };
  std::string mistake;
  try {
    return nlohmann::json::parse(file, accept);
  } catch (const UserError& error) {
    mistake = error.message();
  } catch (const std::exception& error) {
    mistake = error.what();
  }
  root.Report(mistake.starts_with(path + ": ") ? mistake : path + ": " + mistake);
  return nullptr;
}

}  // namespace orvo
