#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace TALVEK::TEST {

/// A module of a local repository.
struct TCvsModule {
  std::filesystem::path oRoot;
  std::string strModule;
  /// The paths are those in the folder that the client makes for the module; true: with this folder, as an
  /// alias for several needs it.
  bool bWithFolders = false;
};

struct TClientFile {
  std::string strBytes;
  bool bExecutable = false;
};

using TClientTree = std::map<std::string, TClientFile>;  // by path in the module

/// What the real client gives. `strCommand` is "export -r NAME", "checkout -A", "checkout -D DATE" in a
/// shell's words. Nothing when the client refuses it.
std::optional<TClientTree> AskClient(const TCvsModule& tModule, const std::string& strCommand);
/// Branches and tags that the log names, in the order of the alphabet, less those that the client takes for
/// its own.
std::vector<std::string> NamesInLog(const TCvsModule& tModule);
/// The bytes of one living revision. It comes with its folder, because a path of its own would name a folder
/// that has taken the file's place.
std::string RevisionFromClient(const TCvsModule& tModule, const std::string& strPath,
                               const std::string& strRevision);

}  // namespace TALVEK::TEST
