// The pin table of a board, as a chip's ports find it: each pin on the wire of its number unless a
// test says otherwise. Stands before the chip and is gone with it.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "config/configuration_file_handler.h"

namespace orvo {

struct BoardPins {
  // `pins` replaces the default table.
  explicit BoardPins(const nlohmann::json& pins = nullptr, const std::string& chip = "nrf52832") {
    ISingelton<ConfigurationFileHandler>::ReleaseInstance();
    ConfigurationFileHandler& board = ConfigurationFileHandler::Get();
    const nlohmann::json component{{"class", chip}, {"config", {{"pins", pins}}}};
    board.AddComponent(JsonPlace(component, "board.json"));
    if (pins.is_null()) board.InitPinsConfig(chip);
  }
  BoardPins(const BoardPins&) = delete;
  BoardPins& operator=(const BoardPins&) = delete;
  ~BoardPins() { ISingelton<ConfigurationFileHandler>::ReleaseInstance(); }
};

}  // namespace orvo
