// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// Gives each target the seeds that it starts from, which lie in a folder named after it.
//
//     fuzz_seeds CORPUS
#include <QDir>
#include <QFile>

#include <cstdio>

#include "support.h"

int main(int argc, char **argv)
{
    prepare(argc, argv);
    for (const Target &target : Target::all()) {
        const QDir seeds(QString::fromLocal8Bit(argv[1]) + u'/' + QLatin1StringView(target.name));
        require(!seeds.isEmpty(), target.name);
        QDir(scratchFolder()).removeRecursively();
        QDir().mkdir(scratchFolder());
        for (const QString &name : seeds.entryList(QDir::Files)) {
            std::printf("%s/%s\n", target.name, qPrintable(name));
            QFile file(seeds.filePath(name));
            require(file.open(QIODevice::ReadOnly), "a seed that can be read");
            target.run(file.readAll());
        }
    }
    return 0;
}
