// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

class NewsServer;

/// For a server that has no faults any more, to be called after each answer of the program: whether
/// a connection has been left without a command. One that has been served since the first call has
/// something to say before many of them.
[[nodiscard]] bool isLeftSilent(const NewsServer &server);
