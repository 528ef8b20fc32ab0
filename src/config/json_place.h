// A value of a JSON document together with the place where it stands, so that a mistake in a user's
// file is reported as "board.json: components[2].name: expected a string, found a number".
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace orvo {

// Refers to the value, which has to outlive it. All readers throw UserError for a value of another
// JSON type or out of range.
class JsonPlace {
 public:
  // `path` is the way from the root of the document, empty for the root itself.
  JsonPlace(const nlohmann::json& value, std::string document, std::string path = "");

  // Null counts as absent, for the member and for the whole. Throws if this is neither an object
  // nor null.
  bool Has(const std::string& key) const;
  // Throws if the key is missing.
  JsonPlace operator[](const std::string& key) const;
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

  const nlohmann::json& value() const { return value_; }
  const std::string& document() const { return document_; }
  // Where this stands: "board.json: components[2].name".
  std::string Place() const;
  // Reports this place with what was expected there.
  [[noreturn]] void Fail(const std::string& expected) const;

 private:
  // Throws unless the value is an integer from lowest to highest.
  template <class T>
  T Integer(T lowest, T highest) const;

  const nlohmann::json& value_;
  std::string document_;
  std::string path_;
};

// Reads and parses a file. Throws UserError with the file's name, and with the position of a
// mistake in it.
nlohmann::json ReadJsonFile(const std::string& path);

}  // namespace orvo
