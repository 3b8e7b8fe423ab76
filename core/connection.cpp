#include "core/connection.h"

namespace TALVEK {

// Out of line, so that each class has one table of virtual functions, in the core library.
VRM::CConnection::~CConnection() = default;
VRM::CMsgTarget::~CMsgTarget() = default;
VRO::CReposView::~CReposView() = default;

}  // namespace TALVEK
