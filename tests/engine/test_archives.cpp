// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// ZIP and 7z archives, and the passwords that an NZB tells.
#include <QMutex>

#include <archive.h>
#include <archive_entry.h>
#include <csignal>
#include <sys/resource.h>

#include "story.h"
#include "support/failingclose.h"

namespace {

struct Member {
    QByteArray name;
    QByteArray content = film;
    QByteArray linkTo = {};
};

/// @param options  of libarchive, such as "zip:encryption=aes256"
QByteArray packed(const QByteArray &format, const QList<Member> &members, const char *options = "",
                  const char *password = nullptr)
{
    QByteArray result(100'000 + members.size() * film.size(), '\0');
    size_t used = 0;
    archive *writer = archive_write_new();
    archive_write_set_format_by_name(writer, format.constData());
    archive_write_set_options(writer, options);
    if (password)
        archive_write_set_passphrase(writer, password);
    archive_write_set_bytes_in_last_block(writer, 1);
    archive_write_open_memory(writer, result.data(), size_t(result.size()), &used);
    for (const Member &member : members) {
        archive_entry *entry = archive_entry_new();
        archive_entry_set_pathname(entry, member.name.constData());
        archive_entry_set_filetype(entry, member.linkTo.isEmpty() ? AE_IFREG : AE_IFLNK);
        archive_entry_set_perm(entry, 0644);
        archive_entry_set_size(entry, member.linkTo.isEmpty() ? member.content.size() : 0);
        if (!member.linkTo.isEmpty())
            archive_entry_set_symlink(entry, member.linkTo.constData());
        archive_write_header(writer, entry);
        if (member.linkTo.isEmpty())
            archive_write_data(writer, member.content.constData(), size_t(member.content.size()));
        archive_entry_free(entry);
    }
    archive_write_free(writer);
    return result.first(qsizetype(used));
}

const QList<Member> justFilm{{"film"}};

/// Stored, so that a changed byte is one of the film's.
QByteArray zip(const QList<Member> &members = justFilm)
{
    return packed("zip", members, "zip:compression=store");
}

/// One byte, of which the headers claim that there are 2^60.
QByteArray hugeZip()
{
    const QByteArray sizes = littleEndian(crc32Of("x"), 1U, ~0U, quint16(4), quint16(12));
    const QByteArray more = "film" + littleEndian(quint16(1), quint16(8), quint64(1) << 60);
    const QByteArray start = "PK\3\4" + littleEndian(45U, quint16(0), 0U) + sizes + more + "x";
    const QByteArray entry = "PK\1\2" + littleEndian(45U << 16 | 45, quint64(0)) + sizes
                             + littleEndian(quint16(0), quint64(0), 0U) + more;
    return start + entry + "PK\5\6"
           + littleEndian(0U, quint16(1), quint16(1), quint32(entry.size()), quint32(start.size()),
                          quint16(0));
}

/// "film.avi" with the password "secret", made by a 7z program.
const QByteArray locked7z = QByteArray::fromBase64(
    "N3q8ryccAATrqGDYEAAAAAAAAABqAAAAAAAAAOqaqkf721Ce7vB+S51FWFyvNDjvAQQGAAEJEAAHCwEAAiQG8QcBElMP"
    "unxRPezO4E9wBDoCR+f1nyEhAQABAAwMCAAICgFSkpnPAAAFARkBABETAGYAaQBsAG0ALgBhAHYAaQAAABkAFAoBAFVF"
    "O0NZet0BFQYBACCApIEAAA==");
/// The same with encrypted headers.
const QByteArray hidden7z = QByteArray::fromBase64(
    "N3q8ryccAARbVy3GgAAAAAAAAAAuAAAAAAAAAPXoRojS3wRZAE2Bkd7IyNfQ3FxMdCfQbxXPbVwe71wkcc16fvi3JMWy"
    "/0rmhXfP5Hw47JTIOE7VfOD0pQw6POnJ7yAPeZ/uCBhWwqHzdHPbP5p71Yt0EeJ2/az5agJiume60Q0W5+NwXLvjOgp4"
    "gfHSgGiwC3r5yAVzanUhpHaTiCMw7xcGEAEJcAAHCwEAASQG8QcBElMPb3XLndxUn/ioyEJ7ODkAqQxqCgE8ArU8AAA=");

QMap<QString, QByteArray> contents()
{
    const QByteArray sevenZip = packed("7zip", justFilm);
    return {{"zip", zip()},
            {"damaged", zip().replace(50'000, 1, "x")},
            {"7z", sevenZip},
            {"7z/1", sevenZip.first(40'000)},
            {"7z/2", sevenZip.sliced(40'000)},
            {"aes", packed("zip", justFilm, "zip:encryption=aes256", "secret")},
            {"spoilt", packed("zip", {{"film"}, {"more"}}, "zip:encryption=aes256", "secret")
                           .replace(80'000, 4, "xxxx")},
            {"old", packed("zip", justFilm, "zip:encryption=traditional", "secret")},
            {"locked7z", locked7z},
            {"hidden7z", hidden7z},
            {"folders", zip({{"film"}, {"made/größe", "x"}, {"c/", {}}})},
            {"small", zip({{"first", "1"}})},
            {"huge", hugeZip()},
            {"same", zip({{"note", randomBytes(2, 20'000)}, {"film"}})},
            {"other", zip({{"./note"}, {"film"}})},
            {"hostile", zip({{"../outside"},
                             {"a/../../../outside"},
                             {QFile::encodeName(outside)},
                             {"link", {}, QFile::encodeName(QDir::tempPath())},
                             {"x.zip"},
                             {"../comic.vol1/x.zip"},
                             {"film"}})}};
}

const char *const stories = R"(
zip | post zip x.zip; run | Finished: +film
7z | post 7z x.7z; run | Finished: +film
in capitals, with folders | post folders X.ZIP; run | Finished: +film +made/größe
joined | post 7z/1 x.7z.001; post 7z/2 x.7z.002; run | Finished: +film
no archive by its name | post zip x.cbz; run | Finished: x.cbz
not wanted | rarHandling=disabled; post zip x.zip; run | Finished: x.zip
cut zip | post zip x.zip; short x.zip 80000; run | Not unpacked: x.zip: ...: x.zip?
cut 7z | post 7z x.7z; short x.7z 40000; run | Not unpacked: x.7z: the archive is damaged: x.7z?
too large | post huge x.zip; run | Not unpacked: x.zip: not enough disk spaceArchive not unpacked. Not
    enough disk space to extract 1099511627776 MB file: x.zip
damaged | post damaged x.zip; run | Not unpacked: x.zip: ...: x.zip
no archive | film x.zip; run | Not unpacked: x.zip: ...: x.zip
encrypted 7z | post locked7z x.7z; run
    | Not unpacked: x.7z: encrypted 7z archives cannot be read: x.7z
encrypted headers of 7z | post hidden7z x.7z; run
    | Not unpacked: x.7z: encrypted 7z archives cannot be read: x.7z
password | post aes x.zip; run; password secret | Finished: +film
damaged, with the right password | nzb comic.vol1{{secret}}; post spoilt x.zip; run
    | Not unpacked: x.zip: ...: +film x.zip
declined | post aes x.zip; run; password | Not unpacked: no password: x.zip
wrong | post aes x.zip; run; password no | Not unpacked: x.zip: wrong password: x.zip
a file of the job in it | post same x.zip; file note; run | Finished: +film note
another under its name | post other x.zip; file note; run
    | Not unpacked: x.zip: members that are links or have forbidden names: +film note x.zip
hostile members | post hostile x.zip; run
    | Not unpacked: x.zip: members that are links or have forbidden names: +film x.zip
deleted in the midst | post zip x.zip; when unpacking archives: delete; run | left
erased in the midst | post zip x.zip; when unpacking archives: erase; run | nothing left
the end in the midst | post zip x.zip; when unpacking archives: quit; run | left
anew | post damaged a.zip; post aes b.zip; run; password; find no password:; post small a.zip;
    mend a.zip; anew; password secret | Finished: +film +first
)";

// Hints of each kind for each kind of archive, also across a restart before anything is unpacked.
const bool told = [] {
    tell(stories, contents());
    for (const QString archive :
         {"post aes x.zip", "post old x.zip", "rar -psecret", "rar -hpsecret"}) {
        for (const QString run :
             {"run", "rarHandling=disabled; run; hear complete; rarHandling=during; restart"}) {
            for (const QString hint :
                 {"meta secret; %1", "nzb comic.vol1{{secret}}; %1",
                  "nzb comic.vol1 {{wrong}}; meta  ; meta &lt;; meta  secret; %1",
                  "nzb comic.vol1{{wrong}}; meta no; %1; password secret"}) {
                const QString script = archive + "; " + hint.arg(run);
                tell(qPrintable(script + " | " + script + " | Finished: +film"), contents());
            }
        }
    }
    return true;
}();

const struct {
    const char *name;
    rlim_t most;
    const char *refused = nullptr;
} quotas[] = {{"when written", 500'000}, {"when closed", RLIM_INFINITY, "/film"}};
const Case quota("an archive stays if the disk refuses a member", quotas, [](const auto &row) {
    World t;
    t.known.insert("zip", packed("zip", {{"film", QByteArray(1'000'000, 'x')}}));
    const FailingClose refused(row.refused);
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit{row.most, RLIM_INFINITY};
    setrlimit(RLIMIT_FSIZE, &limit);
    t.play("post zip x.zip; run");
    t.ends("Not unpacked: x.zip: ...: x.zip");
    limit.rlim_cur = RLIM_INFINITY;
    setrlimit(RLIMIT_FSIZE, &limit);
});

const Case silent("no password is told, and the queue file is its owner's alone", [] {
    static QMutex mutex;
    static QString said;
    const auto before =
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &text) {
            const QMutexLocker lock(&mutex);
            said += text;
        });
    const auto others = QFile::ReadGroup | QFile::ReadOther | QFile::WriteGroup | QFile::WriteOther;
    for (const QString archive : {"post aes x.zip; ", "rar -hpsecret; "}) {
        World t;
        t.known.insert(contents());
        const QString path = QFileInfo(t.engine->settings()->fileName()).path() + "/queue.qzb";
        QFile::setPermissions(writeFile(path), QFile::ReadOwner | QFile::WriteOwner | others);
        t.play(archive
               + "nzb comic.vol1{{a secret}}; meta no secret; run; password secret; restart");
        QVERIFY(!((QFile::permissions(path) | QFile::permissions(path + ".old")) & others));
        said += t.events.join(' ') + t.job->folder();
    }
    qInstallMessageHandler(before);
    QVERIFY(said.contains("film") && !said.contains("secret"));
});

} // namespace
