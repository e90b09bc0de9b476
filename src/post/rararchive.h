// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>
#include <QTemporaryDir>

#include <memory>

struct RARHeaderDataEx;

/// One RAR set under the unrar library, which is read from its first volume to its last.
///
/// The library opens the next volume by itself and asks only for one that it cannot find. It is
/// therefore shown a private folder with a symbolic link for each volume admitted so far, so that
/// it asks for every volume before it opens it. Use the object on the thread that made it.
class RarArchive final {
public:
    /// The library's callback; the messages are those of <unrar/dll.hpp>.
    using Callback = int (*)(unsigned msg, long userData, long p1, long p2);
    enum class Result {
        Ok,
        End,
        Failed,
        Locked, ///< failed, and the password may be the cause
    };

    struct Member {
        QByteArray name; ///< as in the header, in the encoding of file names
        quint64 size = 0; ///< bytes, unpacked
        bool encrypted = false;
        bool symbolicLink = false;
        quint64 dictionary = 0; ///< bytes of memory that unpacking takes
        bool nameCut = false; ///< the name is longer than the library can return
    };

    /// Opens the archive; openResult() is 0 if that went well.
    /// @param folder  where members are extracted to
    RarArchive(const QString &firstVolume, const QString &folder);
    ~RarArchive();
    Q_DISABLE_COPY_MOVE(RarArchive)

    [[nodiscard]] QString firstVolume() const { return firstVolume_; }
    [[nodiscard]] unsigned openResult() const { return openResult_; }
    [[nodiscard]] bool hasEncryptedHeaders() const { return encryptedHeaders; }
    void setCallback(Callback callback, void *userData);
    void setPassword(QByteArray password);

    /// Lets the library see @p volume. False if it has been able to see it already.
    [[nodiscard]] bool admitVolume(const QString &volume);

    [[nodiscard]] Result nextMember();
    /// The member that nextMember() went to.
    [[nodiscard]] Member member() const;
    [[nodiscard]] Result skipMember();
    [[nodiscard]] Result extractMember();

private:
    [[nodiscard]] QString linkTo(const QString &volume) const;
    void open();
    [[nodiscard]] Result process(int operation);
    [[nodiscard]] Result failure(int code) const;

    QString firstVolume_;
    QByteArray folder;
    QTemporaryDir links;
    std::unique_ptr<RARHeaderDataEx> header;
    void *handle = nullptr;
    unsigned openResult_ = 0;
    bool encryptedHeaders = false;
};
