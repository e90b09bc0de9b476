// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <array>

class QSettings;

/// The post that the loopback server serves and every client fetches. Only its last file can have
/// fewer articles than the others; all articles decode to the same bytes.
struct DownloadJob {
    static constexpr qint64 articleSize = 750'000; ///< decoded

    [[nodiscard]] qint64 bytes() const { return articles * articleSize; }
    [[nodiscard]] qint64 files() const
    {
        return (articles + articlesPerFile - 1) / articlesPerFile;
    }
    /// Articles of the file with number @p file, from 0.
    [[nodiscard]] qint64 parts(qint64 file) const
    {
        return qMin(articlesPerFile, articles - file * articlesPerFile);
    }
    /// Names all that the server needs for the article's headers.
    /// @param part  from 1
    [[nodiscard]] QByteArray messageId(qint64 file, qint64 part) const
    {
        const auto number = [](qint64 value) { return QByteArray::number(value); };
        return number(file) + "." + number(part) + "." + number(parts(file)) + "@bench";
    }
    [[nodiscard]] QByteArray messageId(qint64 article) const
    {
        if (!set.isEmpty())
            return set.at(article);
        return messageId(article / articlesPerFile, article % articlesPerFile + 1);
    }
    [[nodiscard]] static QByteArray fileName(qint64 file)
    {
        return "film" + QByteArray::number(file) + ".mkv";
    }
    [[nodiscard]] static QByteArray volumeName(qint64 file)
    {
        return "film.part" + QByteArray::number(101 + file).sliced(1) + ".rar";
    }
    [[nodiscard]] static QByteArray articleData();
    /// Makes it the post whose message ids, a line each, are in @p file: "offset.size@bench" of
    /// what the server is to send out of a file of its own.
    void readSet(const QString &file);

    /// Tells the engine where to download from and to.
    void configure(QSettings &settings) const;
    /// Ends the process with a message unless @p downloads holds the whole post.
    void verify(const QString &downloads) const;

    qint64 articles = 0;
    qint64 articlesPerFile = 64;
    int connections = 8;
    quint16 port = 0;
    bool ssl = false;
    QList<QByteArray> set;
    QString folder; ///< on a file system in memory
};

/// What one client needed for a whole job.
struct DownloadCost {
    double seconds = 0;
    double processorSeconds = 0; ///< of the client alone
    std::array<qint64, 4> resident{}; ///< KiB after the first file, at 25 %, 50 % and 100 %
};

/// Runs from its construction on.
class CostMeter final {
public:
    CostMeter();

    /// Notes the resident memory when @p share, from 0 to 1, reaches the next of its marks. The
    /// first call is one.
    void reached(double share);
    [[nodiscard]] DownloadCost cost() const;

private:
    double startTime;
    double startProcessorTime;
    std::array<qint64, 4> resident{};
    std::size_t marks = 0;
};

/// The download as the program does it, decoding included. Each of these five ends the process
/// with a message when the job does not come out whole.
[[nodiscard]] DownloadCost downloadWithEngine(const DownloadJob &job);
/// The same while a player takes a film of the job at 1 MiB/s.
[[nodiscard]] DownloadCost downloadWatched(const DownloadJob &job);
/// The same for a job larger than the memory: each file is emptied when it is complete, its size
/// left as it was.
[[nodiscard]] DownloadCost downloadDiscarded(const DownloadJob &job);
/// The time until a RAR set is unpacked as well; verifies nothing.
[[nodiscard]] DownloadCost downloadSet(const DownloadJob &job);
/// The least that a client can do: poll(), recv() or SSL_read(), and pwrite() of the raw bytes.
[[nodiscard]] DownloadCost downloadBare(const DownloadJob &job);
