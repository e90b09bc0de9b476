// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QString>

#include <vector>

/// What a fuzzer does with each input; registers itself. An application object is there by then,
/// log lines are dropped, and settings belong to the process.
struct Target {
    using Run = void(const QByteArray &input);
    Target(const char *title, Run *what)
        : name(title)
        , run(what)
    {
        all().push_back(*this);
    }

    static std::vector<Target> &all()
    {
        static std::vector<Target> list;
        return list;
    }

    const char *name; ///< also of the folder with its seeds
    Run *run;
};

/// What Target::run() needs; makes the application object.
void prepare(int &argc, char **argv);

/// A folder of the process, in that for temporary files, which goes when the process ends well.
[[nodiscard]] const QString &scratchFolder();

/// Returns the path of a file in the scratch folder.
QString writeScratch(const QString &name, const QByteArray &content);

/// Takes the input for what arrives in several reads: each '|' is a cut.
[[nodiscard]] QByteArrayList pieces(const QByteArray &input);

/// Makes the input a finding unless @p holds.
void require(bool holds, const char *otherwise);

/// A finding if anything but @p expected lies in @p folder, hidden files included.
void requireOnly(const QByteArrayList &expected, const QString &folder);

/// Removes the files in @p folder but for symbolic links.
void clearFiles(const QString &folder);
