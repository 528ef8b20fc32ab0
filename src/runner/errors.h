// The exceptions with which the system reports failure. Constructing one also sends an event on
// the control connection, whether the exception is caught later or not.
#pragma once

#include <exception>
#include <string>

namespace orvo {

// Values of the key "description" of the events that errors send.
inline constexpr char kUserError[] = "user_error";
inline constexpr char kOrvoError[] = "orvo_error";
inline constexpr char kUnimplementedInstruction[] = "unimplemented_instruction";
inline constexpr char kUnimplementedSection[] = "unimplemented_section";

// A mistake in the user's files, options or firmware.
class UserError : public std::exception {
 public:
  explicit UserError(const std::string& message, const std::string& type = kUserError);

  // The formatted text that a user reads.
  const char* what() const noexcept override { return text_.c_str(); }
  // The bare message, as the control connection carries it.
  const std::string& message() const { return message_; }

 protected:
  virtual void SetMsg(const std::string& message);

  std::string text_;
  std::string type_;

 private:
  std::string message_;
};

// An internal limit or fault of the system.
class OrvoError : public UserError {
 public:
  explicit OrvoError(const std::string& message, const std::string& type = kOrvoError);

 protected:
  void SetMsg(const std::string& message) override;
};

// Firmware executed an instruction that has no function.
class UnimplementedInstructionError : public OrvoError {
 public:
  explicit UnimplementedInstructionError(const std::string& message);
};

// Firmware reached a memory section that has no model.
class UnimplementedSectionError : public OrvoError {
 public:
  explicit UnimplementedSectionError(const std::string& message);
};

}  // namespace orvo
