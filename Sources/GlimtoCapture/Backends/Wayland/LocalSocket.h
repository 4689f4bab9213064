#pragma once

#include <string>

#include "Support/FileDescriptor.h"

namespace glimto {

// A connection to the socket at `path`, that does not block. Does not wait for one who accepts nobody any
// more: none then, with EAGAIN in errno. None with another error number when nobody listens there, and with
// ENAMETOOLONG when no socket can be called that.
FileDescriptor connectedLocalSocket(const std::string& path);

} // namespace glimto
