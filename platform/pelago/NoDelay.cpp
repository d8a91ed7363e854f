#include "NoDelay.h"

#include <QDir>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

namespace pelago {

namespace {

/// The port of the peer of \p descriptor, 0 if it is not a connected TCP socket.
quint16 peerPort(int descriptor)
{
    int type = 0;
    socklen_t typeSize = sizeof(type);
    if (getsockopt(descriptor, SOL_SOCKET, SO_TYPE, &type, &typeSize) != 0 || type != SOCK_STREAM)
        return 0;
    sockaddr_storage peer{};
    socklen_t size = sizeof(peer);
    if (getpeername(descriptor, reinterpret_cast<sockaddr *>(&peer), &size) != 0)
        return 0;
    if (peer.ss_family == AF_INET)
        return ntohs(reinterpret_cast<const sockaddr_in *>(&peer)->sin_port);
    return peer.ss_family == AF_INET6 ? ntohs(reinterpret_cast<const sockaddr_in6 *>(&peer)->sin6_port) : quint16{0};
}

} // namespace

void sendWithoutDelay(quint16 port)
{
    const QStringList descriptors = QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::Files | QDir::System);
    for (const QString &name : descriptors) {
        const int descriptor = name.toInt();
        const int on = 1;
        // Sockets of other clients may match; they send earlier then, too. A socket closed meanwhile is ignored.
        if (port != 0 && peerPort(descriptor) == port)
            setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
    }
}

} // namespace pelago
