// The texts that users read, and the event that goes to the control connection.
#include "runner/errors.h"

#include <nlohmann/json.hpp>

#include "runner/orvo_signals.h"

namespace orvo {
namespace {

// The text is red. The last line stands there because the simulator still has to shut down.
constexpr char kUsageError[] = "\033[0;31m\n\n\tUsage error:\n\t";
constexpr char kInternalError[] = "\033[0;31m\n\n\tNimbel internal error:\n\t";
constexpr char kClosing[] = "\033[0m\n\nPlease wait...\n";
constexpr char kSupportAddress[] = "support@orvo.dev";

std::string Sentence(const std::string& type) {
  if (type == kUnimplementedInstruction)
    return "The program has reached an unimplemented instruction.";
  if (type == kUnimplementedSection)
    return "The program is trying to use an umimplemented memory section (peripheral).";
  return "Looks like something went wrong.";
}

}  // namespace

UserError::UserError(const std::string& message, const std::string& type)
    : type_(type), message_(message) {
  OrvoSignals::Get().send_json_event.emit({{"description", type}, {"value", message}});
  if (type == kUserError) UserError::SetMsg(message);
}

void UserError::SetMsg(const std::string& message) {
  text_ = kUsageError + message + "." + kClosing;
}

OrvoError::OrvoError(const std::string& message, const std::string& type)
    : UserError(message, type) {
  OrvoError::SetMsg(message);
}

void OrvoError::SetMsg(const std::string& message) {
  text_ = kInternalError + Sentence(type_) + "\n\t" + message + ".\n\tPlease contact us at " +
          kSupportAddress + " for more information." + kClosing;
}

UnimplementedInstructionError::UnimplementedInstructionError(const std::string& message)
    : OrvoError(message, kUnimplementedInstruction) {}

UnimplementedSectionError::UnimplementedSectionError(const std::string& message)
    : OrvoError(message, kUnimplementedSection) {}

}  // namespace orvo
