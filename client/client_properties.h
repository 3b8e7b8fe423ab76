#pragma once

#include "core/string.h"
#include "mce/provider.h"

namespace TALVEK::CLIENT {

// Rows of the property tables of all providers that work through the client. Keys and labels are a contract
// with hosts.

inline constexpr MCE::TPropertyInfo PROPERTY_CVS_PATH = {L"CVS Executable Path", L"CVSPath", L"cvs",
                                                         MCE::TPropertyInfo::TYPE_EXECUTABLE};
inline constexpr MCE::TPropertyInfo PROPERTY_REPOS_PATH = {L"Path to Repository", L"ReposPath",
                                                           L":pserver:anonymous@cvs.example.org:/cvsroot",
                                                           MCE::TPropertyInfo::TYPE_TEXT};
inline constexpr MCE::TPropertyInfo PROPERTY_MODULE_NAME = {L"Module Name", L"ModuleName", L"example",
                                                            MCE::TPropertyInfo::TYPE_TEXT};
inline constexpr MCE::TPropertyInfo PROPERTY_END_DATE = {L"End Date", L"EndDate", L"",
                                                         MCE::TPropertyInfo::TYPE_TEXT};
inline constexpr MCE::TPropertyInfo PROPERTY_CREATE_BRANCHES = {L"Create branches", L"CreateBranches", L"1",
                                                                MCE::TPropertyInfo::TYPE_SWITCH};
inline constexpr MCE::TPropertyInfo PROPERTY_INCLUDE_TAGS = {
    L"Include Tag Filters (comma separated)", L"IncludeTags", L"*", MCE::TPropertyInfo::TYPE_TEXT};
inline constexpr MCE::TPropertyInfo PROPERTY_EXCLUDE_TAGS = {
    L"Exclude Tag Filters (comma separated)", L"ExcludeTags", L"", MCE::TPropertyInfo::TYPE_TEXT};
inline constexpr MCE::TPropertyInfo PROPERTY_CMD_REPEAT_COUNT = {
    L"CVS command error repeat count", L"CmdRepeatCount", L"5", MCE::TPropertyInfo::TYPE_TEXT};
inline constexpr MCE::TPropertyInfo PROPERTY_LOG_FILE = {L"Log File (optional)", L"LogFile", L"",
                                                         MCE::TPropertyInfo::TYPE_TEXT};
/// The last row of a table.
inline constexpr MCE::TPropertyInfo END_OF_PROPERTIES = {nullptr, nullptr, nullptr, 0};

/// For CheckEnvironment: 0 when the file that "CVSPath" names exists, else 1, with a warning in `strMessage`.
/// A name without a "/" gives a warning, too, although the client may be on the PATH.
int CheckClientPath(const VCM::CString& strCvsPath, VCM::CString& strMessage);

}  // namespace TALVEK::CLIENT
