// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// The job as a reader of XML, both of an .nzb and of the queue file, which holds more, and the copy
// of the job from which the queue file is written.
#include <QDebug>
#include <QFileInfo>

#include <stdexcept>
#include <utility>

#include "queue/filenames.h"
#include "queue/nzb.h"
#include "queue/nzbfile.h"
#include "queue/readxml.h"
#include "queue/savednzb.h"
#include "queue/writablexml.h"

using namespace Qt::StringLiterals;

namespace {

/// Without characters that the queue file cannot hold, so that the job finds its folder again.
QString printable(const QString &name)
{
    return writableXml(name).removeIf([](QChar c) { return c < u' '; });
}

} // namespace

void Nzb::readNzb(const QString &nzbFile)
{
    const XmlResult result = readXml(nzbFile, *this);
    if (result == XmlResult::CannotOpen)
        throw std::runtime_error(tr("Error opening NZB for reading").toStdString());
    if (result == XmlResult::Damaged) {
        if (files.isEmpty())
            throw std::runtime_error(tr("Error parsing NZB").toStdString());
        qDebug() << "Error encountered while parsing NZB, but keeping it silent as we do were able "
                    "to parse some items";
    }
    takeName(QFileInfo(nzbFile).fileName());
}

void Nzb::takeName(const QString &nzbFile)
{
    const auto [name, password] = splitPassword(cleanName(printable(nzbFile)));
    name_ = name;
    const QStringList others = std::exchange(passwords_, {});
    addPasswords(password);
    addPasswords(others.join(u'\n'));
}

/// The bounds keep a hostile NZB from causing endless tries.
void Nzb::addPasswords(const QString &lines)
{
    constexpr qsizetype mostPasswords = 20;
    constexpr qsizetype longest = 127; // that the unrar library takes
    for (const QString &line : lines.split(u'\n')) {
        const QString password = printable(line).trimmed();
        if (!password.isEmpty() && password.size() <= longest && passwords_.size() < mostPasswords
            && !passwords_.contains(password))
            passwords_ << password;
    }
}

bool Nzb::startElement(const QString &, const QString &, const QString &qName,
                       const QXmlAttributes &attributes)
{
    if (qName == "file"_L1) {
        startFile(attributes);
    } else if (qName == "segment"_L1) {
        currentSegmentNumber = attributes.value("number"_L1).toInt();
        currentSegmentBytes = attributes.value("bytes"_L1).toInt();
    } else if (qName == "nzb"_L1) {
        if (attributes.index("name"_L1) >= 0)
            name_ = cleanName(attributes.value("name"_L1));
        addPasswords(attributes.value("passwords"_L1));
    } else if (qName == "meta"_L1) {
        if (attributes.value("type"_L1) == "password"_L1)
            metaPassword.emplace();
    } else if (qName == "extractedfile"_L1) {
        startExtractedFile(attributes);
    }
    return true;
}

bool Nzb::endElement(const QString &, const QString &, const QString &)
{
    currentSegmentNumber = 0;
    currentSegmentBytes = 0;
    if (metaPassword)
        addPasswords(*std::exchange(metaPassword, {}));
    return true;
}

bool Nzb::characters(const QString &text)
{
    if (metaPassword)
        metaPassword->append(text);
    if (currentSegmentNumber != 0 && !files.isEmpty())
        files.last()->addSegment(currentSegmentNumber, currentSegmentBytes, text);
    return true;
}

void Nzb::startFile(const QXmlAttributes &attributes)
{
    const auto has = [&](QLatin1StringView name) { return attributes.index(name) >= 0; };
    const auto bytes = [&](QLatin1StringView name) {
        return static_cast<quint64>(attributes.value(name).toLongLong());
    };
    files.append(new NzbFile(this, attributes.value("subject"_L1), attributes.value("poster"_L1),
                             attributes.value("date"_L1).toInt(), bytes("size"_L1),
                             bytes("completed"_L1), has("paused"_L1),
                             attributes.value("completedparts"_L1).toInt(), has("yenc"_L1)));
    files.last()->setOrdered(has("ordered"_L1));
    files.last()->setPlace(has("place"_L1) ? attributes.value("place"_L1).toInt()
                                           : fileCount() - 1);
}

void Nzb::startExtractedFile(const QXmlAttributes &attributes)
{
    const QString name = attributes.value("name"_L1);
    if (isDeletableName(name))
        extractedFiles_[name] = static_cast<quint64>(attributes.value("size"_L1).toLongLong());
}

SavedNzb Nzb::saved() const
{
    SavedNzb copy{name_, passwords_, {}, extractedFiles_};
    copy.files.reserve(files.size());
    for (const NzbFile *file : files)
        copy.files.append(file->saved());
    return copy;
}
