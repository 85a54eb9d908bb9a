#pragma once
// Options whose value is one of several words.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

namespace qzQuery {

/// Adds an option that takes the first of any pair in choices and sets value to the second. Other words are refused.
template <class tValue>
CLI::Option* addChoice(CLI::App& command, const std::string& name, tValue& value,
                       const std::vector<std::pair<std::string, tValue>>& choices, const std::string& description) {
  std::vector<std::string> words;
  for (const auto& choice : choices) words.push_back(choice.first);
  return command
      .add_option_function<std::string>(
          name,
          [&value, choices](const std::string& word) {
            value =
                std::find_if(choices.begin(), choices.end(), [&](const auto& c) { return c.first == word; })->second;
          },
          description)
      ->check(CLI::IsMember(words))
      ->type_name("");
}

}  // namespace qzQuery
