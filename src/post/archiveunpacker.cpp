// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "post/archiveunpacker.h"

#include <QDebug>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QScopeGuard>

#include <algorithm>
#include <memory>
#include <utility>

#include <archive.h>
#include <archive_entry.h>

#include "post/freebytes.h"
#include "post/threadsanitizer.h"
#include "queue/jobpath.h"

using namespace Qt::StringLiterals;

namespace {

/// Bytes that are left free on the disk, for the downloads that go on.
constexpr double spaceMargin = 100.0 * 1024 * 1024;

struct Free {
    void operator()(archive *reader) const { archive_read_free(reader); }
};
using Reader = std::unique_ptr<archive, Free>;

QString nameOf(archive_entry *entry)
{
    if (const char *utf8 = archive_entry_pathname_utf8(entry))
        return QString::fromUtf8(utf8);
    return QString::fromLocal8Bit(archive_entry_pathname(entry));
}

/// Why an unpacking has ended early.
struct Failure {
    enum class Kind {
        Stopped,
        Broken,
        Locked, ///< another password may help
        NoRoom, ///< on the disk
    };
    Kind kind = Kind::Stopped;
    QString reason = {}; ///< for the user; with Broken only
    quint64 needed = 0; ///< bytes; with NoRoom only
};

/// One run over the members of an archive.
class Run {
public:
    Run(ArchiveUnpacker &owner, Nzb *job, const ArchiveUnpacker::Order &what, QByteArray key)
        : unpacker(owner)
        , nzb(job)
        , order(what)
        , password(std::move(key))
    {
    }

    /// @throws Failure
    /// @returns false if a member was passed over
    bool unpackAll()
    {
        open();
        archive_entry *entry = nullptr;
        bool all = true;
        for (;;) {
            const int result = archive_read_next_header(reader.get(), &entry);
            if (result == ARCHIVE_EOF)
                return all;
            check(result);
            if (archive_entry_filetype(entry) != AE_IFDIR)
                all = unpack(entry) && all;
        }
    }

private:
    void open()
    {
        archive_read_support_format_zip(reader.get());
        archive_read_support_format_7zip(reader.get());
        if (!password.isEmpty())
            archive_read_add_passphrase(reader.get(), password.constData());
        const QByteArray path = QFile::encodeName(pathOf(order.archive));
        constexpr size_t blockSize = 128 * 1024;
        check(archive_read_open_filename(reader.get(), path.constData(), blockSize));
    }

    [[nodiscard]] QString pathOf(const QString &name) const { return order.folder + u'/' + name; }

    void check(int result)
    {
        endIfStopped();
        if (result != ARCHIVE_OK && result != ARCHIVE_WARN)
            fail();
    }

    void endIfStopped() const
    {
        if (unpacker.isInterruptionRequested())
            throw Failure{};
    }

    [[noreturn]] void fail()
    {
        const int format = archive_format(reader.get());
        // Version 3.7 of the library crashes if it is asked before it knows the format.
        const bool encrypted =
            format != 0 && archive_read_has_encrypted_entries(reader.get()) > 0 && !proved;
        if (encrypted && format == ARCHIVE_FORMAT_ZIP)
            throw Failure{Failure::Kind::Locked};
        if (encrypted)
            failFor(ArchiveUnpacker::tr("encrypted 7z archives cannot be read"));
        const QString reason = QString::fromLocal8Bit(archive_error_string(reader.get()));
        failFor(reason.isEmpty() ? ArchiveUnpacker::tr("the archive is damaged") : reason);
    }

    [[noreturn]] static void failFor(const QString &reason)
    {
        throw Failure{Failure::Kind::Broken, reason};
    }

    /// Also refuses a way out of the folder and back into it, which would hide a protected name.
    [[nodiscard]] bool isSafe(archive_entry *entry, const QString &name) const
    {
        const bool plain =
            archive_entry_filetype(entry) == AE_IFREG && !archive_entry_hardlink(entry);
        return plain && !name.isEmpty() && !name.startsWith(u'/') && !name.startsWith(u'\\')
               && !name.endsWith(u'/') && !QDir::cleanPath(name).startsWith("../"_L1)
               && isInsideFolder(order.folder, pathOf(name));
    }

    bool unpack(archive_entry *entry)
    {
        const QString name = nameOf(entry);
        if (!isSafe(entry, name)) {
            qDebug() << "Passing over a member because of its name or kind:" << name;
            return false;
        }
        if (order.protectedNames.contains(QDir::cleanPath(name)))
            return hasContentOfMember(pathOf(name));
        const auto size = quint64(std::max<la_int64_t>(0, archive_entry_size(entry)));
        requireRoom(size);
        QDir().mkpath(QFileInfo(pathOf(name)).path());
        emit unpacker.memberBegun(nzb, QDir::cleanPath(name), size);
        QFile target(pathOf(name));
        if (!target.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Unbuffered))
            failFor(target.errorString());
        try {
            write(target);
        } catch (const Failure &) {
            target.remove();
            throw;
        }
        proved = proved || archive_entry_is_data_encrypted(entry);
        return true;
    }

    /// The next bytes of the member; none at its end.
    QByteArrayView read()
    {
        const la_ssize_t length = archive_read_data(reader.get(), buffer.data(), buffer.size());
        if (length < 0) // also for a warning, which is how a wrong checksum is told
            fail();
        endIfStopped();
        return QByteArrayView(buffer).first(length);
    }

    /// Whether the file of the job at @p path, which is not to be overwritten, is the same as the
    /// member.
    bool hasContentOfMember(const QString &path)
    {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly))
            return false;
        for (;;) {
            const QByteArrayView block = read();
            if (block.isEmpty())
                return file.atEnd();
            if (file.read(block.size()) != block)
                return false;
        }
    }

    /// The archive may lie about the size, so the free space is looked at again on the way.
    void write(QFile &target)
    {
        constexpr qint64 lookAgain = 64 * 1024 * 1024;
        qint64 sinceLook = 0;
        for (;;) {
            const QByteArrayView block = read();
            if (block.isEmpty())
                break;
            if (target.write(block.data(), block.size()) != block.size())
                failFor(target.errorString());
            sinceLook += block.size();
            if (sinceLook >= lookAgain) {
                requireRoom(0);
                sinceLook = 0;
            }
        }
        target.close(); // a quota or a network disk may refuse written data only now
        if (target.error() != QFileDevice::NoError)
            failFor(target.errorString());
    }

    void requireRoom(quint64 size) const
    {
        const double available = freeBytes(QFile::encodeName(order.folder).constData());
        if (available >= 0 && double(size) + spaceMargin > available)
            throw Failure{Failure::Kind::NoRoom, {}, size};
    }

    ArchiveUnpacker &unpacker;
    Nzb *nzb;
    const ArchiveUnpacker::Order &order;
    QByteArray password;
    bool proved = false; ///< the password has opened a member
    QByteArray buffer{256 * 1024, Qt::Uninitialized};
    Reader reader{archive_read_new()};
};

} // namespace

ArchiveUnpacker::ArchiveUnpacker(Nzb *job, Order what, QObject *parent)
    : QThread(parent)
    , nzb(job)
    , order(std::move(what))
{
}

void ArchiveUnpacker::stop()
{
    requestInterruption();
    awaitEnd(this);
}

/// One run for each password, since a wrong one may not show before the end of a member: the old
/// encryption of ZIP checks only eight bits of it at the start.
bool ArchiveUnpacker::unpackAll()
{
    for (qsizetype i = 0;; ++i) {
        try {
            return Run(*this, nzb, order, order.passwords.value(i)).unpackAll();
        } catch (const Failure &failure) {
            if (failure.kind != Failure::Kind::Locked || i + 1 >= order.passwords.size())
                throw;
        }
    }
}

void ArchiveUnpacker::run()
{
    const auto end = qScopeGuard([this] { announceEnd(this); });
    const QString path = order.folder + u'/' + order.archive;
    try {
        if (!unpackAll()) {
            emit processingError(nzb, tr("members that are links or have forbidden names"));
            return;
        }
        QFile::remove(path);
        emit processingComplete(nzb);
    } catch (const Failure &failure) {
        qDebug() << "Unpacking of" << order.archive << "has ended:" << failure.reason;
        switch (failure.kind) {
        case Failure::Kind::Stopped:
            return;
        case Failure::Kind::Broken:
            emit processingError(nzb, failure.reason);
            return;
        case Failure::Kind::Locked:
            emit passwordNeeded(nzb);
            return;
        case Failure::Kind::NoRoom:
            emit lowDiskspace(nzb, failure.needed);
        }
    }
}
