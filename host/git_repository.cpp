#include "host/git_repository.h"

#include <fstream>
#include <set>
#include <sstream>

#include "host/exit_status.h"
#include "host/git_process.h"
#include "host/text_output.h"

namespace fs = std::filesystem;

namespace TALVEK::HOST {
namespace {

constexpr const char* TARGET_REMEDY =
    "give a folder that doesn't exist, an empty one, or an empty Git repository";

std::string FirstLine(const std::string& strText) {
  return strText.substr(0, strText.find('\n'));
}

[[noreturn]] void ThrowNotEmpty(const fs::path& oFolder, const char* pszWhat) {
  throw EHostError(STATUS_WRONG_USE, "'" + ShowBytes(oFolder.string()) + "' " + pszWhat, TARGET_REMEDY);
}

// A trailing "/" would make the last item of the path empty.
fs::path Normalized(const fs::path& oFolder) {
  const fs::path oPath = fs::absolute(oFolder).lexically_normal();
  return oPath.has_filename() ? oPath : oPath.parent_path();
}

/// Whether a file is empty or begins as Git's own do.
bool IsWrittenByGit(const fs::path& oFile) {
  std::string strLine;
  std::ifstream oStream(oFile, std::ios::binary);
  std::getline(oStream, strLine);
  return strLine.empty() || strLine.starts_with("ref: refs/") || strLine == "[core]";
}

/// Whether `git init` makes this on its way: to see whether there can be links it makes an empty file
/// "tXXXXXX" and then a link of that name to "testing".
bool IsMadeByInit(const fs::directory_entry& oEntry, const fs::path& oGitFolder) {
  static const std::set<std::string> s_astrFolders = {"branches", "hooks",        "info",
                                                      "objects",  "objects/info", "objects/pack",
                                                      "refs",     "refs/heads",   "refs/tags"};
  static const std::set<std::string> s_astrFiles = {"HEAD", "HEAD.lock", "config", "config.lock"};
  const std::string strName = oEntry.path().lexically_relative(oGitFolder).string();
  const bool bProbe = strName.size() == 7 && strName.starts_with('t');
  if (oEntry.is_symlink()) return bProbe && fs::read_symlink(oEntry.path()) == "testing";
  if (oEntry.is_directory()) return s_astrFolders.contains(strName);
  return oEntry.is_regular_file() && ((s_astrFiles.contains(strName) && IsWrittenByGit(oEntry.path())) ||
                                      (bProbe && oEntry.file_size() == 0));
}

/// Whether the folder holds what a `git init` has left that was killed, and nothing else: Git doesn't take
/// that for a repository, and doesn't make one of it where a lock is left.
bool IsHalfMadeRepository(const fs::path& oFolder) {
  const bool bHasGitFolder = fs::is_directory(fs::symlink_status(oFolder / ".git"));
  const fs::path oGitFolder = bHasGitFolder ? oFolder / ".git" : oFolder;
  if (bHasGitFolder && std::distance(fs::directory_iterator(oFolder), {}) != 1) return false;
  if (!fs::exists(oGitFolder / "refs") && !(bHasGitFolder && fs::is_empty(oGitFolder))) return false;
  for (const fs::directory_entry& oEntry : fs::recursive_directory_iterator(oGitFolder))
    if (!IsMadeByInit(oEntry, oGitFolder)) return false;
  return RunGit({"--git-dir=" + oGitFolder.string(), "rev-parse", "--git-dir"}).nStatus != 0;
}

}  // namespace

void RequireGit() {
  if (RunGit({"--version"}).nStatus != 0) {
    throw EHostError(STATUS_FAILED, "git can't be run",
                     "install git, or write the stream with --fast-export FILE");
  }
}

CGitRepository::CGitRepository(TOptions tOptions) : m_tOptions(std::move(tOptions)) {
  m_tOptions.oFolder = Normalized(m_tOptions.oFolder);
  m_eState = Inspect();
}

CGitRepository::~CGitRepository() {
  if (m_bPrepared && !m_bKept) Undo();
}

CGitRepository::TState CGitRepository::Inspect() {
  const fs::path& oFolder = m_tOptions.oFolder;
  std::error_code oError;
  const fs::file_status oStatus = fs::symlink_status(oFolder, oError);
  if (oStatus.type() == fs::file_type::not_found) return STATE_ABSENT;
  if (!fs::is_directory(oFolder, oError)) ThrowNotEmpty(oFolder, "is not a folder");
  const fs::directory_iterator oEntries(oFolder, oError);
  if (oError) ThrowNotEmpty(oFolder, "can't be read");
  if (oEntries == fs::directory_iterator() || IsHalfMadeRepository(oFolder)) return STATE_EMPTY_FOLDER;
  InspectRepository();
  return STATE_EMPTY_REPOSITORY;
}

void CGitRepository::InspectRepository() {
  const fs::path& oFolder = m_tOptions.oFolder;
  const bool bHasGitFolder = fs::exists(oFolder / ".git");
  const bool bBare = !bHasGitFolder && fs::exists(oFolder / "HEAD") && fs::exists(oFolder / "objects");
  if (!bHasGitFolder && !bBare) ThrowNotEmpty(oFolder, "is not empty");
  m_oGitFolder = bBare ? oFolder : oFolder / ".git";
  // The checkout at the end would overwrite other files.
  if (!bBare && std::distance(fs::directory_iterator(oFolder), {}) != 1) {
    ThrowNotEmpty(oFolder, "has files beside its repository");
  }
  m_tOptions.bBare = bBare;
  const bool bHasCommits = !Run({"for-each-ref", "--count=1"}).empty() ||
                           RunGit(Command({"rev-parse", "--quiet", "--verify", "HEAD"})).nStatus == 0;
  if (bHasCommits) ThrowNotEmpty(oFolder, "is a Git repository that has commits");
  m_strOldHead = FirstLine(Run({"symbolic-ref", "HEAD"}));
}

void CGitRepository::Prepare() {
  m_bPrepared = true;
  if (m_eState != STATE_EMPTY_REPOSITORY) Make();
  Run({"symbolic-ref", "HEAD", "refs/heads/" + m_tOptions.strTrunkBranch});
}

void CGitRepository::Make() {
  const fs::path& oFolder = m_tOptions.oFolder;
  for (fs::path oMissing = oFolder; !fs::exists(oMissing); oMissing = oMissing.parent_path()) {
    m_oFirstMade = oMissing;
  }
  std::error_code oError;
  fs::create_directories(oFolder, oError);
  if (oError) {
    throw EHostError(STATUS_FAILED, "can't make '" + ShowBytes(oFolder.string()) + "': " + oError.message(),
                     "");
  }
  if (IsHalfMadeRepository(oFolder)) EmptyFolder();
  m_oGitFolder = m_tOptions.bBare ? oFolder : oFolder / ".git";
  // No template: the user's hooks and settings must not take part in the import.
  std::vector<std::string> astrInit = {"-c", "init.defaultBranch=main", "init", "--quiet", "--template="};
  if (m_tOptions.bBare) astrInit.push_back("--bare");
  astrInit.push_back("--");
  astrInit.push_back(oFolder.string());
  const TProcessResult tResult = RunGit(astrInit);
  if (tResult.nStatus != 0) {
    throw EHostError(STATUS_FAILED, "git can't make a repository: " + BestErrorLine(tResult.strError), "");
  }
}

std::vector<std::string> CGitRepository::Command(const std::vector<std::string>& astrArguments) const {
  std::vector<std::string> astrCommand = {"--git-dir=" + m_oGitFolder.string()};
  if (!m_tOptions.bBare) astrCommand.push_back("--work-tree=" + m_tOptions.oFolder.string());
  astrCommand.insert(astrCommand.end(), astrArguments.begin(), astrArguments.end());
  return astrCommand;
}

std::string CGitRepository::Run(const std::vector<std::string>& astrArguments) const {
  const TProcessResult tResult = RunGit(Command(astrArguments));
  if (tResult.nStatus != 0) {
    throw EHostError(STATUS_FAILED,
                     "git " + astrArguments.front() + " fails in '" + ShowBytes(m_tOptions.oFolder.string()) +
                         "': " + BestErrorLine(tResult.strError),
                     "");
  }
  return tResult.strOutput;
}

std::uint64_t CGitRepository::CountCommits(const std::string& strFrom) const {
  const TProcessResult tResult = RunGit(Command({"rev-list", "--count", strFrom}));
  return tResult.nStatus == 0 ? std::stoull(tResult.strOutput) : 0;
}

// `git init` sets core.ignorecase after a look at the file system.
bool CGitRepository::IgnoresCase() const {
  const TProcessResult tResult = RunGit(Command({"config", "--type=bool", "--get", "core.ignorecase"}));
  return tResult.nStatus == 0 && tResult.strOutput == "true\n";
}

std::optional<std::string> CGitRepository::CheckOut() const {
  const std::string strTrunk = "refs/heads/" + m_tOptions.strTrunkBranch;
  if (m_tOptions.bBare || RunGit(Command({"rev-parse", "--quiet", "--verify", strTrunk})).nStatus != 0)
    return {};
  const TProcessResult tResult = RunGit(Command({"reset", "--quiet", "--hard"}));
  if (tResult.nStatus == 0) return {};
  return BestErrorLine(tResult.strError);
}

void CGitRepository::Undo() noexcept {
  try {
    std::error_code oIgnored;
    if (m_eState == STATE_EMPTY_REPOSITORY) {
      RemoveReferences();
      Run({"symbolic-ref", "HEAD", m_strOldHead});
    } else if (!m_oFirstMade.empty()) {
      fs::remove_all(m_oFirstMade, oIgnored);
    } else {
      EmptyFolder();
    }
  } catch (const std::exception&) {
    // The run has failed already and reports the reason; another message would hide it.
  }
}

void CGitRepository::RemoveReferences() const {
  std::istringstream oNames(Run({"for-each-ref", "--format=%(refname)"}));
  std::string strName;
  while (std::getline(oNames, strName))
    Run({"update-ref", "-d", strName});
  std::error_code oIgnored;
  for (const fs::directory_entry& oEntry : fs::directory_iterator(m_oGitFolder)) {
    if (oEntry.path().filename().string().starts_with("fast_import_crash_"))
      fs::remove(oEntry.path(), oIgnored);
  }
}

void CGitRepository::EmptyFolder() const {
  std::error_code oIgnored;
  for (const fs::directory_entry& oEntry : fs::directory_iterator(m_tOptions.oFolder)) {
    fs::remove_all(oEntry.path(), oIgnored);
  }
}

}  // namespace TALVEK::HOST
