#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "exact/modules_file.h"

namespace TALVEK::EXACT {

/// The name that an import is asked for, without what the client stumbles over: "www/mk" for "./www//mk/",
/// "." for an empty one.
std::string PlainModuleName(std::string_view strName);

/// Tells a file's path in the import from its path in the repository, and back.
///
/// A name is a module of CVSROOT/modules, a folder or a file of the repository, "." for all of it, or a
/// module and a path within ("mod/sub"). Paths are those of `cvs checkout NAME`, in the folder that this
/// makes for the name: as `cvs checkout -d FOLDER NAME` has them within FOLDER. An alias for one name is that
/// name; an alias for several makes a folder for each, and these stay. All are bytes with "/" between the
/// parts.
///
/// Shape    Add each file of the log first; InModule and InRepository know only those.
/// Memory   Nothing for a name that stands for one whole folder, else two paths for each file.
class CModulePaths {
 public:
  /// strName as PlainModuleName gives it.
  explicit CModulePaths(const std::string& strName, const TModules& atModules = {});

  /// What becomes of a file of the log.
  enum TResult {
    TAKEN,
    LEFT_OUT,  ///< the log names more than a checkout gives: "!folder" leaves out of an alias
    CLASHES,   ///< its place or its folder's is another's: the client would refuse one of them
  };
  TResult Add(const std::string& strInRepository);

  /// "sub/a.c" for "mod/sub/a.c" in the module "mod"; several where a module holds a folder twice.
  std::vector<std::string> InModule(std::string_view strInRepository) const;
  /// The other way.
  std::string InRepository(const std::string& strInModule) const;

  /// True when the paths are those of one folder of the repository, less its own path.
  bool IsOneFolder() const { return m_bOneFolder; }
  /// That folder, empty for all of the repository; of another name the first folder that it stands for.
  const std::string& Folder() const { return m_atParts.empty() ? m_strNone : m_atParts.front().strFrom; }

 private:
  /// A folder or file of the repository and where a checkout puts it.
  struct TPart {
    std::string strFrom;    // in the repository; empty: all of it
    std::string strTo;      // where the client stands when it begins: "x/y/lib" of a module that goes to x/y
    std::string strTop;     // the folder that the name has got in the checkout, which the import doesn't have
    std::size_t nBase = 0;  // length of the path in strTo at which the client stands for this part
    std::size_t nLeftOut = 0;  // how many of m_astrLeftOut were named before it
    bool bLocal = false;
  };

  void Expand(const std::string& strName, const TModules& atModules, const std::string& strBase, bool bTop);
  void AddModule(const std::string& strName, const TModule& tModule, const std::string& strWithin,
                 const TModules& atModules, const std::string& strBase, bool bTop);
  void AddPart(const std::string& strFrom, const std::string& strTo, const std::string& strTop,
               const std::string& strBase, bool bLocal);
  bool IsLeftOut(const TPart& tPart, const std::string& strPlace) const;
  /// Calls fnPlace(part, path in the import) for each place of a file of the repository.
  template <class TFunction>
  void ForEachPlace(std::string_view strInRepository, TFunction fnPlace) const;
  bool Take(std::string_view strInModule, std::string_view strInRepository);

  std::vector<TPart> m_atParts;
  std::vector<std::string> m_astrLeftOut;  // folders, seen from where the client stands
  std::vector<std::string> m_astrOpen;     // modules on the way to the one at hand: one in itself is skipped
  bool m_bOneFolder = false;
  std::unordered_map<std::string, std::string> m_astrInRepository;  // by path in the import; folders with "/"
  std::string m_strNone;
};

}  // namespace TALVEK::EXACT
