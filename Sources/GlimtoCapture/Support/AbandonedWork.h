#pragma once

namespace glimto {

// Whether any thread of this process was let go of while it was at work. The process must then end without
// running static destructors, which would take from that thread what it uses.
bool isWorkAbandoned();

// Tells so.
void noteAbandonedWork();

} // namespace glimto
