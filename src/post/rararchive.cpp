// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "post/rararchive.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <climits>

#include "post/unrar.h"

namespace {

// The library silently cuts a longer destination, and would write elsewhere.
constexpr qsizetype maxFolderBytes = 2000;
constexpr unsigned storeMethod = 0x30;

/// Looks at the kind as well: the attributes may hide that the library would make a link.
bool isSymbolicLink(const RARHeaderDataEx &header)
{
    constexpr unsigned unixLink = 1;
    constexpr unsigned junction = 3; // a link of Windows lies between them
    return (header.FileAttr & 0xF000) == 0xA000
           || (header.RedirType >= unixLink && header.RedirType <= junction);
}

} // namespace

RarArchive::RarArchive(const QString &firstVolume, const QString &folder)
    : firstVolume_(firstVolume)
    , folder(QFile::encodeName(folder))
    , header(std::make_unique<RARHeaderDataEx>())
{
    if (this->folder.size() <= maxFolderBytes && admitVolume(firstVolume))
        open();
    else
        openResult_ = ERAR_EOPEN;
}

RarArchive::~RarArchive()
{
    if (handle)
        RARCloseArchive(handle);
}

void RarArchive::open()
{
    QByteArray path = QFile::encodeName(linkTo(firstVolume_));
    RAROpenArchiveDataEx data{};
    data.ArcName = path.data();
    data.OpenMode = RAR_OM_EXTRACT;
    handle = RAROpenArchiveEx(&data);
    openResult_ = data.OpenResult;
    encryptedHeaders = data.Flags & ROADF_ENCHEADERS;
}

void RarArchive::setCallback(Callback callback, void *userData)
{
    RARSetCallback(handle, callback, reinterpret_cast<long>(userData));
}

void RarArchive::setPassword(QByteArray password) { RARSetPassword(handle, password.data()); }

QString RarArchive::linkTo(const QString &volume) const
{
    return links.filePath(QFileInfo(volume).fileName());
}

bool RarArchive::admitVolume(const QString &volume)
{
    return links.isValid() && QFile::link(QDir().absoluteFilePath(volume), linkTo(volume));
}

RarArchive::Result RarArchive::nextMember()
{
    const int code = RARReadHeaderEx(handle, header.get());
    if (code == ERAR_END_ARCHIVE)
        return Result::End;
    return code == ERAR_SUCCESS ? Result::Ok : failure(code);
}

RarArchive::Member RarArchive::member() const
{
    Member result;
    result.name = header->FileName;
    result.size = quint64(header->UnpSizeHigh) << 32 | header->UnpSize;
    result.encrypted = header->Flags & RHDF_ENCRYPTED;
    result.symbolicLink = isSymbolicLink(*header);
    result.dictionary = header->Method == storeMethod ? 0 : quint64(header->DictSize) << 10;
    result.nameCut = result.name.size() >= qsizetype(sizeof header->FileName) - MB_LEN_MAX;
    return result;
}

RarArchive::Result RarArchive::skipMember() { return process(RAR_SKIP); }

RarArchive::Result RarArchive::extractMember() { return process(RAR_EXTRACT); }

RarArchive::Result RarArchive::process(int operation)
{
    const int code = RARProcessFile(handle, operation, folder.data(), nullptr);
    return code == ERAR_SUCCESS ? Result::Ok : failure(code);
}

/// RAR 5 recognises a wrong password. Before it, a wrong one shows only in damaged data.
RarArchive::Result RarArchive::failure(int code) const
{
    constexpr unsigned firstOfRar5 = 50;
    const bool encrypted = encryptedHeaders || (header->Flags & RHDF_ENCRYPTED);
    const bool doubtful = code == ERAR_BAD_DATA && encrypted && header->UnpVer < firstOfRar5;
    const bool wrong = code == ERAR_BAD_PASSWORD || code == ERAR_MISSING_PASSWORD;
    return wrong || doubtful ? Result::Locked : Result::Failed;
}
