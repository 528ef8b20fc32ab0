// A value of a JSON document together with the place where it stands, so that a mistake in a user's
// file is reported as "board.json: components[2].name: expected a string, found a number".
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "config/problem_list.h"

namespace orvo {

// Refers to the value, which has to outlive it. All readers throw UserError for a value of another
// JSON type or out of range. With a list of problems they enter the mistake there instead, and
// return zero, false or nothing: so that all mistakes of a file are found in one go.
class JsonPlace {
 public:
  // `path` is the way from the root of the document, empty for the root itself.
  JsonPlace(const nlohmann::json& value, std::string document, std::string path = "",
            ProblemList* problems = nullptr);

  // Null counts as absent, for the member and for the whole. A mistake if this is neither an object
  // nor null.
  bool Has(const std::string& key) const;
  // A mistake if the key is missing.
  JsonPlace operator[](const std::string& key) const;
  // The place of a member that isn't there, which the text reports.
  JsonPlace Missing(const std::string& key, const std::string& text) const;
  // The elements of an array or the members of an object, in order.
  std::vector<JsonPlace> Elements() const;

  const std::string& String() const;
  bool Bool() const;
  double Number() const;
  int Int32() const;
  unsigned Unsigned32() const;
  unsigned long Unsigned64() const;
  const nlohmann::json& Object() const;
  const nlohmann::json& Array() const;
  // A string as it is; a number as text formatted with "%f".
  std::string Text() const;
  // The level of a pin: true, or a number that isn't 0.
  bool Level() const { return value_.is_boolean() ? Bool() : Number() != 0; }

  // With a list of problems, prints what may be meant otherwise, but is no mistake.
  void Warn(const std::string& text) const;
  // With a list of problems, warns of keys that nothing reads: likely misspelt.
  void WarnOfOtherKeys(const std::vector<std::string_view>& known) const;

  const nlohmann::json& value() const { return value_; }
  const std::string& document() const { return document_; }
  const std::string& path() const { return path_; }
  ProblemList* problems() const { return problems_; }
  // Where this stands: "board.json: components[2].name".
  std::string Place() const;
  // Throws UserError with this place and what was expected there, list of problems or not.
  [[noreturn]] void Fail(const std::string& expected) const;
  // Throws UserError with the text, or enters it into the list of problems.
  void Report(const std::string& text) const;
  // The text of Fail() to Report().
  void ReportExpected(const std::string& expected) const;
  // Whether a list of problems has some at this place or below it: what depends on its values needs
  // no test then.
  bool HasProblems() const;

 private:
  std::string Expected(const std::string& expected) const;
  // Reports unless the value is an integer from lowest to highest.
  template <class T>
  T Integer(T lowest, T highest) const;

  const nlohmann::json& value_;
  std::string document_;
  std::string path_;
  ProblemList* problems_;
  bool reported_ = false;  // a missing member: reading it is no second mistake
};

// Reads and parses a file. Throws UserError with the file's name, and with the position of a
// mistake in it; with a list of problems, keys that stand twice go there, and anything else too,
// which leaves null.
nlohmann::json ReadJsonFile(const std::string& path, ProblemList* problems = nullptr);

}  // namespace orvo
