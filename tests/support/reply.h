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
    /// What happens to the connection once endAt bytes of the reply have left.
    enum End {
        KeepOpen, ///< waits for the next command
        Cut, ///< the socket is closed without a TLS or NNTP good-bye
        Close, ///< as Cut, but with TLS's close notification
        Stall, ///< the link stays open, nothing more is sent and no command is answered
    };
    /// As an offset: the end of the reply.
    static constexpr qsizetype whole = std::numeric_limits<qsizetype>::max();

    std::optional<QByteArray> replacement = {};
    End end = KeepOpen;
    qsizetype endAt = whole;
    QList<qsizetype> splits = {};
    int delay = 0; ///< milliseconds from the command to the first byte

    static Reply ordinary() { return {}; }
    /// Exactly @p raw instead of the ordinary answer.
    static Reply bytes(const QByteArray &raw) { return {.replacement = raw}; }
    /// @p line such as "400 too many connections", sent with CR LF instead of the ordinary answer.
    static Reply code(const QByteArray &line) { return bytes(line + "\r\n"); }
    /// No answer at all: the link stays open.
    static Reply silence() { return {.end = Stall, .endAt = 0}; }

    Reply ended(End how, qsizetype at) const { return {replacement, how, at, splits, delay}; }
    Reply cutAfter(qsizetype count) const { return ended(Cut, count); }
    Reply closeAfter(qsizetype count) const { return ended(Close, count); }
    Reply stallAfter(qsizetype count) const { return ended(Stall, count); }
    Reply delayed(int time) const { return {replacement, end, endAt, splits, time}; }
    /// The reply leaves in pieces that the peer gets in separate reads, as long as each piece fits
    /// into one read of it.
    Reply splitAt(const QList<qsizetype> &at) const { return {replacement, end, endAt, at, delay}; }
};

/// The start of a command, or of what stands for another event that the server's script may name.
struct When {
    static QByteArray greeting() { return "(greeting)"; }
    static QByteArray command(const QByteArray &start) { return start; }
    /// A request for the article @p id; for any one, when it is empty.
    static QByteArray body(const QByteArray &id = {})
    {
        return "BODY" + (id.isEmpty() ? QByteArray() : " <" + id + ">");
    }
};
