#pragma once

#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

namespace TALVEK::HOST {

/// Bytes as JSON: a string where they are UTF-8, else {"hex": "63e976"}. JSON has no other text.
nlohmann::json JsonOfBytes(std::string_view strBytes);
/// The bytes again; nlohmann::json::exception when the value is neither.
std::string BytesOfJson(const nlohmann::json& oValue);

}  // namespace TALVEK::HOST
