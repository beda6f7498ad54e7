// What other X clients do to the engine's windows.
#pragma once

namespace kesto::test {

// Destroys an X window through a connection of its own, as another client would; false when there
// is no X server.
bool DestroyXWindowElsewhere(unsigned long xid);

}  // namespace kesto::test
