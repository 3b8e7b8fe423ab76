#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "exact/log_reader.h"

namespace TALVEK::EXACT {

/// A log that lies in memory, given in pieces.
class CTextSource : public CLogBytes {
 public:
  explicit CTextSource(std::string_view strText, std::size_t nPieceBytes = SIZE_MAX)
      : m_strText(strText), m_nPieceBytes(nPieceBytes) {}
  std::size_t Read(char* pTo, std::size_t nBytes) override;

 private:
  std::string_view m_strText;
  const std::size_t m_nPieceBytes;
};

/// All files of a log of the repository /cvs.
std::vector<TRcsFile> ReadAll(std::string_view strLog, std::string_view strRoot = "/cvs",
                              std::string_view strModule = {});

/// "1.2.0.4"
std::string NumberText(const TNumber& nNumber);
/// A file as lines: "mod/a.c" (with "INCOMPLETE" and the repair), then for each revision "  1.2 joe:
/// message", with line feeds in the message shown as "|".
std::string Text(const TRcsFile& tFile);
std::string Text(const std::vector<TRcsFile>& atFiles);

/// The header of a file below /cvs.
std::string Header(std::string_view strPath, std::string_view strHead, std::size_t nRevisions,
                   std::string_view strDescription = {});
/// A revision by "joe" with its separator in front; strText: the line "branches:", if any, and the message.
std::string Revision(std::string_view strNumber, std::string_view strText,
                     std::string_view strTime = "2005/06/07 08:09:10");
/// The line behind the last revision of a file.
std::string End();

}  // namespace TALVEK::EXACT
