// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QMap>
#include <QStringList>

/// What the PAR2 program prints, as it arrives, and what that says of a set of volumes.
class Par2Output {
public:
    /// No more than the last so many bytes are kept, and a mark of what was dropped before them.
    static constexpr qsizetype maxSize = 256 * 1024;

    enum class Answer { Unknown, Repaired, Correct, NeedsBlocks, CorruptVolume };

    struct Verdict {
        Answer answer = Answer::Unknown;
        int blocks = 0; ///< that the set lacks; 0 also when the number cannot be read
    };

    void append(const QByteArray &text);
    void clear() { text_.clear(); }
    [[nodiscard]] const QByteArray &text() const { return text_; }
    /// By the last line that starts with words that are known.
    [[nodiscard]] Verdict verdict() const;
    /// The files that the set is made for, by name.
    [[nodiscard]] QStringList targets() const;
    /// By the name of a target, that of a file which more than half of its data was found in.
    [[nodiscard]] QMap<QString, QString> foundIn() const;

private:
    QByteArray text_;
};
