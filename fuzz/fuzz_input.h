#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace TALVEK::FUZZ {

/// The bytes that a target is given. If their first line begins with '-', the letters after it are the
/// target's options, and the text begins with the next line. So a log as `cvs` prints it is a valid seed.
class CFuzzInput {
 public:
  CFuzzInput(const std::uint8_t* pBytes, std::size_t nBytes);

  bool Has(char chOption) const { return m_strOptions.find(chOption) != std::string_view::npos; }
  std::string_view Text() const { return m_strText; }
  /// The text. With option r, each run of lines that contain a '#' is repeated `nTimes` times, and each '#'
  /// becomes the number of the repetition, from 1. That makes inputs long enough to show more than linear
  /// time.
  std::string Expanded(int nTimes) const;
  /// The text's lines without their ends, including the last one even if it is empty.
  std::vector<std::string_view> Lines() const;

 private:
  std::string_view m_strOptions;
  std::string_view m_strText;
};

}  // namespace TALVEK::FUZZ
