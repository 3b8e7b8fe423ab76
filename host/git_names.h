#pragma once

#include <string>
#include <string_view>

/// The nearest text to a foreign one that Git takes in the same place. All work on bytes and change nothing
/// that Git would take as it is.
namespace TALVEK::HOST {

/// What stands behind refs/heads/ or refs/tags/. Keeps the rules of git-check-ref-format(1), by turning each
/// offending byte into "_", and cuts items that would not fit into a file name.
std::string GitRefName(std::string_view strName);

/// Author or committer, used as both name and address: without "<", ">", line feed and NUL.
std::string GitIdentity(std::string_view strUser);

/// A path in a tree: items that Git refuses to check out (".git" in any case and in the disguises it has on
/// other systems, "." and "..") get a "_". Empty stays empty: there is no such file.
std::string GitPath(std::string_view strPath);

/// A path as it stands at the end of a line of a fast-import stream: in quotes when it has to be.
std::string QuoteGitPath(std::string_view strPath);

}  // namespace TALVEK::HOST
