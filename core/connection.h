#pragma once

#include <memory>
#include <utility>

#include "core/export.h"

/// What a plug-in sees of the server: a view of a repository, and through it the connection that shows
/// messages to the administrator.

namespace TALVEK::VRM {

/// Shows messages to the administrator. The host implements it.
class TALVEK_CORE_API CConnection {
 public:
  virtual ~CConnection() = default;
  /// Shows one message, printf style ("%s" takes wide text). The caller ends it with a line feed.
  virtual void Message(const wchar_t* pszFormat, ...) = 0;
};

/// Something that messages can be sent to.
class TALVEK_CORE_API CMsgTarget {
 public:
  virtual ~CMsgTarget() = default;
  /// Null when nobody is connected. The caller must not delete the connection.
  virtual CConnection* GetConnection() const = 0;
};

}  // namespace TALVEK::VRM

namespace TALVEK::VRO {

/// The host's view of the repository into which an import goes.
class TALVEK_CORE_API CReposView : public VRM::CMsgTarget {};

}  // namespace TALVEK::VRO

namespace TALVEK::VRW {

/// A shared reference through which an object of the host is called; empty when default constructed.
template <class TObject>
class TObjectInvokeRef {
 public:
  TObjectInvokeRef() = default;
  explicit TObjectInvokeRef(std::shared_ptr<TObject> poObject) : m_poObject(std::move(poObject)) {}

  bool IsEmpty() const { return m_poObject == nullptr; }
  TObject* operator->() const { return m_poObject.get(); }

 private:
  std::shared_ptr<TObject> m_poObject;
};

}  // namespace TALVEK::VRW
