// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QList>

#include <limits>
#include <optional>

/// What the server does at one scripted event; a default Reply is the ordinary answer.
///
/// Made by name and refined in a chain: `Reply::ordinary().splitAt({-2})`. Offsets count the bytes
/// of the whole reply, status line and final dot line included; a negative one counts from its end.
struct Reply {
    /// As an offset: the end of the reply.
    static constexpr qsizetype whole = std::numeric_limits<qsizetype>::max();

    /// What happens to the connection once endAt bytes of the reply have left.
    enum class End {
        KeepOpen, ///< waits for the next command
        Cut, ///< the socket is closed without a TLS or NNTP good-bye
        Close, ///< as Cut, but with TLS's close notification
        Stall, ///< the link stays open, nothing more is sent and no command is answered
        Reset, ///< RST instead of FIN; the peer may lose bytes that it has not read yet
    };

    static Reply ordinary() { return {}; }
    /// @p line such as "400 too many connections", sent with CR LF instead of the ordinary answer.
    static Reply code(const QByteArray &line) { return bytes(line + "\r\n"); }
    /// Exactly @p raw instead of the ordinary answer.
    static Reply bytes(const QByteArray &raw)
    {
        return Reply().with([&](Reply &reply) { reply.replacement = raw; });
    }
    /// No answer at all: the link stays open.
    static Reply silence() { return Reply().stallAfter(0); }
    static Reply drop() { return Reply().cutAfter(0); }

    [[nodiscard]] Reply cutAfter(qsizetype count) const { return ended(End::Cut, count); }
    [[nodiscard]] Reply closeAfter(qsizetype count) const { return ended(End::Close, count); }
    [[nodiscard]] Reply stallAfter(qsizetype count) const { return ended(End::Stall, count); }
    [[nodiscard]] Reply resetAfter(qsizetype count) const { return ended(End::Reset, count); }
    /// The reply leaves in pieces that the peer gets in separate reads, as long as each piece fits
    /// into one read of it.
    [[nodiscard]] Reply splitAt(const QList<qsizetype> &offsets) const
    {
        return with([&](Reply &reply) { reply.splits = offsets; });
    }
    /// The first byte leaves @p milliseconds after the command came.
    [[nodiscard]] Reply delayed(int milliseconds) const
    {
        return with([&](Reply &reply) { reply.delay = milliseconds; });
    }

    /// What leaves of @p reply, piece by piece.
    [[nodiscard]] QList<QByteArray> pieces(const QByteArray &reply) const;

    std::optional<QByteArray> replacement;
    End end = End::KeepOpen;
    qsizetype endAt = 0;
    QList<qsizetype> splits;
    int delay = 0;

private:
    [[nodiscard]] Reply with(auto change) const
    {
        Reply result = *this;
        change(result);
        return result;
    }
    [[nodiscard]] Reply ended(End how, qsizetype count) const
    {
        return with([&](Reply &reply) {
            reply.end = how;
            reply.endAt = count;
        });
    }
};

/// The events that a rule of the server's script is for. Empty and 0 stand for "any".
struct When {
    static When greeting() { return {.event = "(greeting)", .article = {}}; }
    /// Commands that start with @p start, such as "AUTHINFO PASS" or "QUIT".
    static When command(const QByteArray &start) { return {.event = start, .article = {}}; }
    /// A request for the article @p id, which is given without angle brackets.
    static When body(const QByteArray &id = {}) { return {.event = "BODY", .article = id}; }

    /// The same events, on the @p number -th connection alone (from 1, in order of accept).
    [[nodiscard]] When onConnection(int number) const
    {
        return {.event = event, .article = article, .connection = number};
    }
    [[nodiscard]] bool matches(const QByteArray &happened, int onNumber) const
    {
        return happened.startsWith(event) && (connection == 0 || connection == onNumber)
               && (article.isEmpty() || happened == "BODY <" + article + ">");
    }

    QByteArray event;
    QByteArray article;
    int connection = 0;
};
