// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "rawsocket.h"

#include <QFile>

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <utility>

#include "support.h"

namespace {

sockaddr_in loopback(quint16 port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    return address;
}

/// The fuzzer's alarm clock may interrupt it at any time.
template <typename Address> void connectTo(int descriptor, const Address &address)
{
    const auto *generic = reinterpret_cast<const sockaddr *>(&address);
    int status = -1;
    do {
        status = connect(descriptor, generic, sizeof address);
    } while (status != 0 && errno == EINTR);
    require(status == 0 || errno == EISCONN, std::strerror(errno));
}

} // namespace

RawSocket::RawSocket(int descriptor)
    : fd(descriptor)
{
    if (fd < 0)
        return;
    const int on = 1;
    const linger reset{1, 0};
    setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    setsockopt(fd, SOL_SOCKET, SO_LINGER, &reset, sizeof reset);
}

RawSocket::RawSocket(RawSocket &&other) noexcept
    : fd(std::exchange(other.fd, -1))
{
}

RawSocket &RawSocket::operator=(RawSocket &&other) noexcept
{
    std::swap(fd, other.fd);
    return *this;
}

RawSocket RawSocket::toPath(const QString &path)
{
    RawSocket result(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    qstrncpy(address.sun_path, QFile::encodeName(path).constData(), sizeof address.sun_path);
    connectTo(result.fd, address);
    return result;
}

RawSocket RawSocket::toPort(quint16 port)
{
    RawSocket result(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    connectTo(result.fd, loopback(port));
    return result;
}

RawSocket RawSocket::listening()
{
    RawSocket result(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const sockaddr_in address = loopback(0);
    const auto *generic = reinterpret_cast<const sockaddr *>(&address);
    require(bind(result.fd, generic, sizeof address) == 0 && listen(result.fd, 100) == 0,
            "a free port");
    return result;
}

quint16 RawSocket::port() const
{
    sockaddr_in address{};
    socklen_t size = sizeof address;
    getsockname(fd, reinterpret_cast<sockaddr *>(&address), &size);
    return ntohs(address.sin_port);
}

RawSocket RawSocket::accept() const
{
    return RawSocket(accept4(fd, nullptr, nullptr, SOCK_CLOEXEC));
}

qsizetype RawSocket::send(const QByteArray &data) const
{
    const ssize_t sent =
        ::send(fd, data.constData(), size_t(data.size()), MSG_NOSIGNAL | MSG_DONTWAIT);
    return std::max<ssize_t>(sent, 0);
}

QByteArray RawSocket::receive() const
{
    QByteArray result;
    char buffer[4096];
    for (;;) {
        const ssize_t size = recv(fd, buffer, sizeof buffer, MSG_DONTWAIT);
        if (size <= 0)
            return result;
        result.append(buffer, size);
    }
}

void RawSocket::close()
{
    if (fd >= 0)
        ::close(std::exchange(fd, -1));
}

bool isReadable(qintptr descriptor)
{
    pollfd waiting{int(descriptor), POLLIN, 0};
    int count = -1;
    do {
        count = poll(&waiting, 1, 0);
    } while (count < 0 && errno == EINTR);
    return count == 1;
}
