#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <string_view>

#include "tests/support/shell.h"
#include "tests/support/temp_folder.h"

namespace TALVEK::TEST {

/// A CVS repository with one module, made by the real client (local mode) in a temporary folder that removes
/// itself. A command costs about 10 ms: the client's clock is ours, and its sleeps cost nothing.
///
/// Shape    Commands work in the working copy that On() chose, as the author of As(), at the time of At(). A
///          commit, an import and a removal from the history move the clock an hour on. Paths are relative to
///          the module. Options and names are words as a shell takes them; paths and messages are quoted
///          here.
/// Errors   Throws std::runtime_error with the client's words when the client fails.
/// Threads  One.
class CCvsWorld {
 public:
  explicit CCvsWorld(std::string strModule = "m");

  const std::filesystem::path& Root() const { return m_oRoot; }
  const std::string& Module() const { return m_strModule; }
  /// Seconds since 1970 UTC of the next command.
  std::int64_t Now() const { return m_nNow; }

  void At(std::int64_t nSeconds) { m_nNow = nSeconds; }
  void Pass(std::int64_t nSeconds) { m_nNow += nSeconds; }
  void As(const std::string& strAuthor) { m_strAuthor = strAuthor; }
  /// The working copy of a branch or tag ("" is the trunk), made when it is first named, else brought up to
  /// date.
  void On(const std::string& strName);
  /// Removes the working copy; On() makes it anew.
  void Forget(const std::string& strName);
  /// The folder of the working copy.
  std::filesystem::path Copy() const { return m_oFolder.Path() / "copies" / ("copy-" + m_strCopy); }

  void Write(const std::string& strPath, std::string_view strBytes);
  /// Writes the file and schedules it, and folders on the way to it, for addition.
  void Add(const std::string& strPath, std::string_view strBytes, const std::string& strOptions = "");
  /// The same for a file that can be executed.
  void AddExecutable(const std::string& strPath, std::string_view strBytes);
  void Remove(const std::string& strPath);
  void Commit(const std::string& strMessage, const std::string& strOptionsAndPaths = "");
  /// Add, or Write if the working copy has the file, and Commit of it alone.
  void Put(const std::string& strPath, std::string_view strBytes, const std::string& strMessage);

  /// On the files of the working copy, or on those of `strPaths` (words as a shell takes them).
  void Tag(const std::string& strName, const std::string& strPaths = "");
  void BranchTag(const std::string& strName, const std::string& strPaths = "");
  void MoveTag(const std::string& strName, const std::string& strPaths = "");
  void DeleteTag(const std::string& strName, const std::string& strPaths = "");
  /// On files of the repository: "-b -r OLD NEW", and a path in the module or "" for all of it.
  void TagInRepository(const std::string& strOptionsAndName, const std::string& strPath = "");
  void Update(const std::string& strOptionsAndPaths);
  void Admin(const std::string& strOptions, const std::string& strPath);
  /// Imports files (path to bytes) on the vendor branch that the options name, by default 1.1.1.
  void Import(const std::map<std::string, std::string>& astrFiles, const std::string& strMessage,
              const std::string& strVendorTag, const std::string& strReleaseTag,
              const std::string& strOptions = "");
  /// Any other command in the working copy, with its standard output and error; doesn't throw.
  TShellResult Try(const std::string& strArguments) const;

  /// The file that holds the history, in the Attic or out of it.
  std::filesystem::path Master(const std::string& strPath) const;
  /// Writes another date into the history: what a client whose clock was wrong leaves behind.
  void SetDate(const std::string& strPath, const std::string& strRevision, std::int64_t nSeconds);
  /// Puts another text in the place of one that must stand once in the file of the history.
  void Edit(const std::string& strPath, const std::string& strOld, const std::string& strNew);
  /// Takes all commit ids away: what clients before 1.12 leave behind.
  void DropCommitIds();

 private:
  std::string ClientCommand(const std::string& strArguments) const;
  void Run(const std::filesystem::path& oFolder, const std::string& strArguments) const;
  void AddFolders(const std::filesystem::path& oFolder);

  CTempFolder m_oFolder;
  std::filesystem::path m_oRoot;
  std::string m_strModule;
  std::string m_strAuthor = "anna";
  std::string m_strCopy;
  std::int64_t m_nNow = 1000000000;
  std::int64_t m_nWrites = 0;
};

/// What stands before the client's name in a shell command whose clock is to stand at this time (seconds
/// since 1970 UTC), and whose sleeps are to cost nothing: "env NAME=VALUE...".
std::string ClockOfClient(std::int64_t nSeconds);

}  // namespace TALVEK::TEST
