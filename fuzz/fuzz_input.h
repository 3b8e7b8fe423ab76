#pragma once

#include <cstddef>
#include <cstdint>
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
  /// The text's lines without their ends, the last one also when it is empty.
  std::vector<std::string_view> Lines() const;

 private:
  std::string_view m_strOptions;
  std::string_view m_strText;
};

}  // namespace TALVEK::FUZZ
