// The texts of the errors, and the events that they send.
#include "runner/errors.h"

#include <gtest/gtest.h>

#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "runner/orvo_signals.h"

namespace orvo {
namespace {

struct ErrorCase {
  const char* name;
  std::function<std::string()> text;  // constructs the error and gives its what()
  const char* expected_text;
  const char* expected_event;
};

template <class E>
std::function<std::string()> Text() {
  return [] { return std::string(E("this is wrong").what()); };
}

std::ostream& operator<<(std::ostream& out, const ErrorCase& c) { return out << c.name; }

class Errors : public testing::TestWithParam<ErrorCase> {};

TEST_P(Errors, TellTheUserAndTheConnection) {
  std::vector<nlohmann::json> events;
  const Connection<const nlohmann::json&> connection(
      OrvoSignals::Get().send_json_event,
      [&events](const nlohmann::json& event) { events.push_back(event); });
  EXPECT_EQ(GetParam().text(), GetParam().expected_text);
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(events[0], (nlohmann::json{{"description", GetParam().expected_event},
                                       {"value", "this is wrong"}}));
}

INSTANTIATE_TEST_SUITE_P(
    Table, Errors,
    testing::Values(
        ErrorCase{"user", Text<UserError>(),
                  "\033[0;31m\n\n\tUsage error:\n\tthis is wrong.\033[0m\n\nPlease wait...\n",
                  "user_error"},
        ErrorCase{"internal", Text<OrvoError>(),
                  "\033[0;31m\n\n\tNimbel internal error:\n\tLooks like something went wrong.\n"
                  "\tthis is wrong.\n\tPlease contact us at support@orvo.dev for more "
                  "information.\033[0m\n\nPlease wait...\n",
                  "orvo_error"},
        ErrorCase{"instruction", Text<UnimplementedInstructionError>(),
                  "\033[0;31m\n\n\tNimbel internal error:\n\tThe program has reached an "
                  "unimplemented instruction.\n\tthis is wrong.\n\tPlease contact us at "
                  "support@orvo.dev for more information.\033[0m\n\nPlease wait...\n",
                  "unimplemented_instruction"},
        ErrorCase{"section", Text<UnimplementedSectionError>(),
                  "\033[0;31m\n\n\tNimbel internal error:\n\tThe program is trying to use an "
                  "umimplemented memory section (peripheral).\n\tthis is wrong.\n\tPlease contact "
                  "us at support@orvo.dev for more information.\033[0m\n\nPlease wait...\n",
                  "unimplemented_section"}),
    [](const auto& test) { return test.param.name; });

TEST(OrvoError, IsCaughtAsUserErrorWithItsOwnText) {
  try {
    throw UnimplementedSectionError("USBD");
  } catch (const UserError& error) {
    EXPECT_EQ(error.message(), "USBD");
    EXPECT_NE(std::string(error.what()).find("internal error"), std::string::npos);
  }
}

}  // namespace
}  // namespace orvo
