#pragma once

#include <iostream>
#include <nlohmann/json.hpp>

namespace velmora::cli {

// Prints `items` as one indented JSON array, each item turned into JSON by `toJson`.
template <typename Items, typename ToJson>
void printJsonArray(const Items& items, ToJson toJson) {
    nlohmann::json list = nlohmann::json::array();
    for (const auto& item : items) list.push_back(toJson(item));
    std::cout << list.dump(2) << '\n';
}

}  // namespace velmora::cli
