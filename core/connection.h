#pragma once

#include <memory>
#include <utility>

#include "core/export.h"

/// The server's side of a plug-in, as far as a plug-in sees it: a view of a repository that leads to the
/// connection over which messages go to the administrator.

namespace TALVEK::VRM {

/// A connection to whoever watches. Implemented by the host.
class TALVEK_CORE_API CConnection {
 public:
  virtual ~CConnection();
  /// One message, printf style ("%s" takes wide text). It ends with a line feed; the connection adds none.
  virtual void Message(const wchar_t* pszFormat, ...) = 0;
};

/// Something that messages can be sent to.
class TALVEK_CORE_API CMsgTarget {
 public:
  virtual ~CMsgTarget();
  /// Null when nobody is connected. The target owns the connection, or lends it from its own owner.
  virtual CConnection* GetConnection() const = 0;
};

}  // namespace TALVEK::VRM

namespace TALVEK::VRO {

/// The host's view of the repository into which an import goes.
class TALVEK_CORE_API CReposView : public VRM::CMsgTarget {
 public:
  ~CReposView() override;
};

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
