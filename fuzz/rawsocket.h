// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>

/// The other end of a connection to a Qt socket of this process: no event loop, no buffer, nothing
/// waits. On the loopback interface, as on a local socket, what is sent has arrived at once.
class RawSocket final {
    Q_DISABLE_COPY(RawSocket)

public:
    RawSocket() = default;
    explicit RawSocket(int descriptor);
    RawSocket(RawSocket &&other) noexcept;
    RawSocket &operator=(RawSocket &&other) noexcept;
    ~RawSocket() { close(); }

    [[nodiscard]] static RawSocket toPath(const QString &path);
    [[nodiscard]] static RawSocket toPort(quint16 port);
    /// Listens on a free port of 127.0.0.1.
    [[nodiscard]] static RawSocket listening();
    [[nodiscard]] quint16 port() const;
    /// The next connection that has been made to a listening socket; not open without one.
    [[nodiscard]] RawSocket accept() const;

    [[nodiscard]] bool isOpen() const { return fd >= 0; }
    /// Returns the bytes that there was room for; none once the other end is closed.
    qsizetype send(const QByteArray &data) const;
    /// All that has arrived.
    [[nodiscard]] QByteArray receive() const;
    /// Resets the connection, so that no port lies in TIME_WAIT.
    void close();

private:
    int fd = -1;
};

/// True while a descriptor of this process has something to be read.
[[nodiscard]] bool isReadable(qintptr descriptor);
