#pragma once

#include <string>

namespace glimto {

// A fresh random UUID (RFC 9562 section 5.4) in upper case: "1B4E28BA-2FA1-41D2-883F-0016D3CCA427".
std::string makeUUID();

} // namespace glimto
