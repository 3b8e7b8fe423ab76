#pragma once

#include <string>
#include <string_view>

/// Each function gives the text nearest to a foreign one that Git takes in its place. All work on bytes, and
/// return what Git takes as it is unchanged.
namespace TALVEK::HOST {

/// The name of a branch or tag, as it stands behind refs/heads/ or refs/tags/. Keeps the rules of
/// git-check-ref-format(1), by turning each offending byte into "_", and cuts items that would not fit into a
/// file name. A name that HasMeaningInGit gets a "_", too: "HEAD_", "_x" for "-x", "heads_/x".
std::string GitRefName(std::string_view strName);

/// True for a name that Git's commands, where they take a branch or tag, take for something else, although
/// Git would make such a branch or tag: "HEAD" and the other references at the top of a repository, "@",
/// "stash", an option ("-x"), the name of a commit (40 hexadecimal digits), a path below refs/ ("heads/x").
bool HasMeaningInGit(std::string_view strName);

/// Author or committer, used as both name and address: without "<", ">", line feed and NUL.
std::string GitIdentity(std::string_view strUser);

/// A path in a tree: items that Git refuses to check out (".git" in any case and in the disguises it has on
/// other systems, "." and "..") get a "_". Empty stays empty: there is no such file.
std::string GitPath(std::string_view strPath);

/// A path as it stands at the end of a line of a fast-import stream: in quotes when it has to be.
std::string QuoteGitPath(std::string_view strPath);

}  // namespace TALVEK::HOST
