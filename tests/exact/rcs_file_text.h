#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "exact/log_reader.h"

namespace TALVEK::EXACT {

/// All files of a log of the repository /cvs.
std::vector<TRcsFile> ReadAll(std::string_view strLog, std::string_view strRoot = "/cvs",
                              std::string_view strModule = {});

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
