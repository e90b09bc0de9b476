// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "post/archiveunpacker.h"

#include <QDebug>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <array>
#include <memory>
#include <utility>

#include <archive.h>
#include <archive_entry.h>

#include "post/freebytes.h"
#include "queue/jobpath.h"

using namespace Qt::StringLiterals;

namespace {

/// Left free on the disk, for the downloads that go on.
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
    QString reason; ///< for the user; empty after stop()
    quint64 needed = 0; ///< bytes, where it was for want of room
};

/// One run over the members of an archive.
class Run {
public:
    Run(ArchiveUnpacker &owner, Nzb *job, const ArchiveUnpacker::Order &what)
        : unpacker(owner)
        , nzb(job)
        , order(what)
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
        for (const QByteArray &password : order.passwords) {
            if (!password.isEmpty())
                archive_read_add_passphrase(reader.get(), password.constData());
        }
        const QByteArray path = QFile::encodeName(order.folder + u'/' + order.archive);
        constexpr size_t blockSize = 128 * 1024;
        check(archive_read_open_filename(reader.get(), path.constData(), blockSize));
    }

    void check(int result)
    {
        if (unpacker.isInterruptionRequested())
            throw Failure{};
        if (result != ARCHIVE_OK && result != ARCHIVE_WARN)
            fail();
    }

    [[noreturn]] void fail()
    {
        if (archive_read_has_encrypted_entries(reader.get()) > 0)
            throw Failure{ArchiveUnpacker::tr("it is encrypted, and no known password opens it")};
        throw Failure{QString::fromLocal8Bit(archive_error_string(reader.get()))};
    }

    [[nodiscard]] bool isSafe(archive_entry *entry, const QString &name) const
    {
        const bool plain =
            archive_entry_filetype(entry) == AE_IFREG && !archive_entry_hardlink(entry);
        const QString path = order.folder + u'/' + name;
        return plain && !name.isEmpty() && !name.startsWith(u'/') && !name.startsWith(u'\\')
               && !name.endsWith(u'/') && isInsideFolder(order.folder, path)
               && !order.protectedNames.contains(QDir::cleanPath(name));
    }

    bool unpack(archive_entry *entry)
    {
        const QString name = nameOf(entry);
        if (!isSafe(entry, name)) {
            qDebug() << "Passing over a member because of its name or kind:" << name;
            return false;
        }
        const auto size = quint64(std::max<la_int64_t>(0, archive_entry_size(entry)));
        requireRoom(size);
        QDir().mkpath(QFileInfo(order.folder + u'/' + name).path());
        emit unpacker.memberBegun(nzb, QDir::cleanPath(name), size);
        QFile target(order.folder + u'/' + name);
        if (!target.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Unbuffered))
            throw Failure{target.errorString()};
        try {
            write(target);
        } catch (const Failure &) {
            target.remove();
            throw;
        }
        return true;
    }

    /// The size that the archive tells may be a lie, so the room is looked at again on the way.
    void write(QFile &target)
    {
        constexpr qint64 lookAgain = 64 * 1024 * 1024;
        static thread_local std::array<char, 256 * 1024> buffer;
        qint64 sinceLook = 0;
        for (;;) {
            const la_ssize_t length = archive_read_data(reader.get(), buffer.data(), buffer.size());
            if (length == 0)
                break;
            if (length < 0) // a warning among them, for one of a wrong checksum
                fail();
            check(ARCHIVE_OK);
            if (target.write(buffer.data(), length) != length)
                throw Failure{target.errorString()};
            sinceLook += length;
            if (std::exchange(sinceLook, sinceLook % lookAgain) >= lookAgain)
                requireRoom(0);
        }
        if (!target.flush())
            throw Failure{target.errorString()};
    }

    void requireRoom(quint64 size) const
    {
        const double available = freeBytes(QFile::encodeName(order.folder).constData());
        if (available >= 0 && double(size) + spaceMargin > available)
            throw Failure{.reason = {}, .needed = std::max<quint64>(size, 1)};
    }

    ArchiveUnpacker &unpacker;
    Nzb *nzb;
    const ArchiveUnpacker::Order &order;
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
    wait();
}

void ArchiveUnpacker::run()
{
    const QString path = order.folder + u'/' + order.archive;
    try {
        if (!isInsideFolder(order.folder, path))
            throw Failure{tr("it lies outside the folder of the job")};
        if (Run(*this, nzb, order).unpackAll())
            QFile::remove(path);
        emit processingComplete(nzb);
    } catch (const Failure &failure) {
        qDebug() << "Unpacking of" << order.archive << "has ended:" << failure.reason;
        if (failure.needed > 0)
            emit lowDiskspace(nzb, failure.needed);
        else if (!isInterruptionRequested())
            emit processingError(nzb, failure.reason);
    }
}
