// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QMap>
#include <QStringList>

/// Collects the output of the PAR2 program as it arrives, and reads from it the state of a set.
class Par2Output {
public:
    /// Only this many bytes at the end are kept, after a mark in the place of those dropped.
    static constexpr qsizetype maxSize = 256 * 1024;

    enum class Answer { Unknown, Repaired, Correct, NeedsBlocks, CorruptVolume };

    struct Verdict {
        Answer answer = Answer::Unknown;
        int blocks = 0; ///< still needed; 0 also when the number cannot be read
    };

    void append(const QByteArray &text);
    void clear() { text_.clear(); }
    [[nodiscard]] const QByteArray &text() const { return text_; }
    /// Read from the last line that starts with known words.
    [[nodiscard]] Verdict verdict() const;
    /// The names of the files that the set protects.
    [[nodiscard]] QStringList targets() const;
    /// For the name of a target: the name of the file that holds more than half of its data.
    [[nodiscard]] QMap<QString, QString> foundIn() const;

private:
    QByteArray text_;
};
