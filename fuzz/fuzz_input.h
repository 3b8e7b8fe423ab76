#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace TALVEK::FUZZ {

/// The bytes that a target is given. When their first line begins with '-', the letters behind it are the
/// target's options and the text begins with the next line; so a log as `cvs` prints it is a seed as it is.
class CFuzzInput {
 public:
  CFuzzInput(const std::uint8_t* pBytes, std::size_t nBytes);

  bool Has(char chOption) const { return m_strOptions.find(chOption) != std::string_view::npos; }
  std::string_view Text() const { return m_strText; }
  /// The text; with the option r, each run of lines that hold a '#' stands there `nTimes` times, and each '#'
  /// is the number of the repetition, from 1. What takes more than linear time shows only in long inputs.
  std::string Expanded(int nTimes) const;
  /// The text's lines without their ends, the last one also when it is empty.
  std::vector<std::string_view> Lines() const;

 private:
  std::string_view m_strOptions;
  std::string_view m_strText;
};

}  // namespace TALVEK::FUZZ
