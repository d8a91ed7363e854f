// pelago/NoDelay.h
//
// Sends small requests without a pause. The toolkit writes a request's head and body in two pieces, and the kernel
// holds the second one back until the server has confirmed the first, about 40 ms later (Nagle's algorithm with delayed
// acknowledgements). The toolkit has no setting for that and keeps its sockets to itself.

#pragma once

#include <QtGlobal>

namespace pelago {

/// Sets TCP_NODELAY on the connections of this process to any server's \p port. Call it before a request, so that the
/// connection that was kept since the last one sends at once. Does nothing on systems without /proc.
void sendWithoutDelay(quint16 port);

} // namespace pelago
