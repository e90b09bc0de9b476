// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "queue/savednzb.h"

#include <QXmlStreamWriter>

#include "queue/filenames.h"
#include "queue/writablexml.h"

using namespace Qt::StringLiterals;

namespace {

void saveSegments(QXmlStreamWriter &xml, const QMap<int, QString> &segments)
{
    for (auto it = segments.cbegin(); it != segments.cend(); ++it) {
        xml.writeStartElement("segment"_L1);
        xml.writeAttribute("number"_L1, QString::number(it.key()));
        xml.writeCharacters(writableXml(it.value()));
        xml.writeEndElement();
    }
}

/// A subject line from which the file reads its present name and its number of parts.
QString savedSubject(const SavedFile &file)
{
    if (file.filename == file.subject)
        return file.subject;
    return u'"' + file.filename + u"\" (1/"_s + QString::number(file.parts) + u')';
}

} // namespace

void SavedFile::saveXml(QXmlStreamWriter &xml) const
{
    xml.writeStartElement("file"_L1);
    xml.writeAttribute("size"_L1, QString::number(size));
    xml.writeAttribute("completed"_L1, QString::number(completed));
    if (paused)
        xml.writeAttribute("paused"_L1, "1"_L1);
    if (completedparts != 0)
        xml.writeAttribute("completedparts"_L1, QString::number(completedparts));
    if (yenc)
        xml.writeAttribute("yenc"_L1, "1"_L1);
    if (ordered)
        xml.writeAttribute("ordered"_L1, "1"_L1);
    if (tellsNothing(filename))
        xml.writeAttribute("place"_L1, QString::number(place));
    xml.writeAttribute("subject"_L1, writableXml(savedSubject(*this)));
    xml.writeStartElement("segments"_L1);
    saveSegments(xml, activeSegments); // fetched again after a reload
    saveSegments(xml, pendingSegments);
    xml.writeEndElement();
    xml.writeEndElement();
}

void SavedNzb::saveXml(QXmlStreamWriter &xml) const
{
    xml.writeStartElement("nzb"_L1);
    xml.writeAttribute("name"_L1, writableXml(name));
    if (!passwords.isEmpty())
        xml.writeAttribute("passwords"_L1, passwords.join(u'\n'));
    for (const SavedFile &file : files)
        file.saveXml(xml);
    if (!extractedFiles.isEmpty()) {
        xml.writeStartElement("relatedfiles"_L1);
        for (auto it = extractedFiles.cbegin(); it != extractedFiles.cend(); ++it) {
            xml.writeEmptyElement("extractedfile"_L1);
            xml.writeAttribute("name"_L1, writableXml(it.key()));
            xml.writeAttribute("size"_L1, QString::number(it.value()));
        }
        xml.writeEndElement();
    }
    xml.writeEndElement();
}
