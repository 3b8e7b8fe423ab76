#pragma once

#include <string>
#include <string_view>

/// Each function returns the text nearest to a foreign one that Git accepts. All work on bytes, and return
/// unchanged what Git accepts as it is.
namespace TALVEK::HOST {

/// The name of a branch or tag, without refs/heads/ or refs/tags/. To fit the rules of
/// git-check-ref-format(1) each offending byte becomes "_", and items that are too long for a file name are
/// cut. A name that HasMeaningInGit gets a "_", too: "HEAD_", "_x" for "-x", "heads_/x".
std::string GitRefName(std::string_view strName);

/// True for a name that Git allows for a branch or tag, but that its commands then read as something else:
/// "HEAD" and the other references at the top of a repository, "@", "stash", an option ("-x"), the name of a
/// commit (40 hexadecimal digits), a path below refs/ ("heads/x").
bool HasMeaningInGit(std::string_view strName);

/// Author or committer, used as both name and address: without "<", ">", line feed and NUL.
std::string GitIdentity(std::string_view strUser);

/// A path in a tree. Items that Git refuses to check out get a "_": "." and "..", and ".git" in any case and
/// in the forms that other systems read as ".git" ("git~1"). Empty stays empty: there is no such file.
std::string GitPath(std::string_view strPath);

/// A path for the end of a line in a fast-import stream: in quotes if it needs them.
std::string QuoteGitPath(std::string_view strPath);

}  // namespace TALVEK::HOST
