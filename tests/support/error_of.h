// What a call reports by an exception.
#pragma once

#include <exception>
#include <string>

#include "runner/errors.h"

namespace orvo {

// The message of the UserError or OrvoError that the call throws, with the class before it; empty
// if it throws nothing.
template <class Call>
std::string ErrorOf(Call call) {
  try {
    call();
  } catch (const OrvoError& error) {
    return "OrvoError: " + error.message();
  } catch (const UserError& error) {
    return "UserError: " + error.message();
  } catch (const std::exception& error) {
    return std::string("other: ") + error.what();
  }
  return "";
}

}  // namespace orvo
