// The texts of the errors, and the events that they send.
#include "runner/errors.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "runner/orvo_signals.h"

namespace orvo {
namespace {

template <class E>
void ExpectTextAndEvent(const std::string& heading, const std::string& closing,
                        const char* description) {
  std::vector<nlohmann::json> events;
  const Connection<const nlohmann::json&> connection(
      OrvoSignals::Get().send_json_event,
      [&events](const nlohmann::json& event) { events.push_back(event); });
  try {
    throw E("this is wrong");
  } catch (const UserError& error) {  // of which all are
    EXPECT_EQ(error.what(), "\033[0;31m\n\n\t" + heading + "\n\tthis is wrong.\n" + closing);
    EXPECT_EQ(error.message(), "this is wrong");
  }
  EXPECT_EQ(events, std::vector<nlohmann::json>(
                        {{{"description", description}, {"value", "this is wrong"}}}));
}

TEST(Errors, TellTheUserAndTheConnection) {
  const std::string support =
      "\tPlease contact us at support@orvo.dev for more information.\033[0m\n\nPlease wait...\n";
  const std::string internal = "Nimbel internal error:\n\t";
  ExpectTextAndEvent<OrvoError>(internal + "Looks like something went wrong.", support,
                                "orvo_error");
  ExpectTextAndEvent<UnimplementedInstructionError>(
      internal + "The program has reached an unimplemented instruction.", support,
      "unimplemented_instruction");
  ExpectTextAndEvent<UnimplementedSectionError>(
      internal + "The program is trying to use an umimplemented memory section (peripheral).",
      support, "unimplemented_section");
  EXPECT_STREQ(UserError("this is wrong").what(),
               "\033[0;31m\n\n\tUsage error:\n\tthis is wrong.\033[0m\n\nPlease wait...\n");
}

}  // namespace
}  // namespace orvo
