// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QElapsedTimer>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QTimer>

#include <chrono>
#include <functional>

/// A limit for what several connections receive together. Each asks before it reads. One that gets
/// less than it wants is called again when there is more; those that wait have their turns one
/// after another. Lives on the GUI thread.
class SpeedLimit final : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SpeedLimit)

public:
    explicit SpeedLimit(QObject *parent = nullptr);

    /// @param bytesPerSecond  0 for no limit; takes effect at once
    void setRate(qint64 bytesPerSecond);
    [[nodiscard]] bool isActive() const { return rate > 0; }

    /// Returns how many of @p wanted bytes may be read now. If these are fewer, @p resume is called
    /// once when there is more, unless @p reader has been deleted by then.
    [[nodiscard]] qint64 take(qint64 wanted, QObject *reader, const std::function<void()> &resume);
    /// Accounts for bytes that have been read without asking, at the expense of later ones.
    void spend(qint64 bytes) { allowance -= isActive() ? bytes : 0; }
    /// Whether take() will still call back for @p reader.
    [[nodiscard]] bool isWaiting(const QObject *reader) const;

    /// Hands out what may be read in @p passed time; longer pauses count as a quarter of a second.
    /// While there is a limit, a timer calls it.
    void refill(std::chrono::microseconds passed);

private:
    struct Waiting {
        QPointer<QObject> reader;
        std::function<void()> resume;
    };

    qint64 rate = 0; ///< bytes per second
    qint64 allowance = 0; ///< bytes that may be read before the next refill; below 0 after spend()
    qint64 share = 0; ///< the most bytes that one call of take() grants
    QElapsedTimer sinceRefill;
    QTimer timer;
    QList<Waiting> waiting; ///< the one that has waited longest comes first
};
