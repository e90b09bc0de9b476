// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "queue/readxml.h"

#include <QFile>
#include <QFileInfo>
#include <QXmlDefaultHandler>
#include <QXmlInputSource>
#include <QXmlSimpleReader>

#include <algorithm>
#include <quazip/quagzipfile.h>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 chunkSize = 16 * 1024;
/// The reader calls itself for each level of elements, and for each parenthesis in a DTD: some
/// 10,000 levels or 60,000 parentheses overflow the stack.
constexpr int maxDepth = 100;
constexpr qint64 maxProlog = 2 * chunkSize;

/// Ends the document early when it exceeds a limit, so that the parse fails there.
class LimitedSource final : public QXmlInputSource {
public:
    LimitedSource(QIODevice &input, const XmlLimits &bounds)
        : device(input)
        , limits(bounds)
        , sinceToken(limits.token - maxProlog)
    {
    }

    void fetchData() override
    {
        const qint64 room = std::min(limits.document - total, limits.token - sinceToken);
        const QByteArray chunk = device.read(std::clamp<qint64>(room, 0, chunkSize));
        total += chunk.size();
        sinceToken += chunk.size();
        setData(chunk);
    }

    void tokenRead() { sinceToken = 0; }

private:
    QIODevice &device;
    XmlLimits limits;
    qint64 total = 0;
    qint64 sinceToken;
};

/// Stands between the reader and the handler proper.
class LimitedHandler final : public QXmlDefaultHandler {
public:
    LimitedHandler(QXmlContentHandler &handler, LimitedSource &input, int elementLimit)
        : target(handler)
        , source(input)
        , maxElements(elementLimit)
    {
    }

    bool startElement(const QString &uri, const QString &localName, const QString &qName,
                      const QXmlAttributes &attributes) override
    {
        source.tokenRead();
        return ++depth <= maxDepth && ++elements <= maxElements
               && target.startElement(uri, localName, qName, attributes);
    }

    bool endElement(const QString &uri, const QString &localName, const QString &qName) override
    {
        source.tokenRead();
        --depth;
        return target.endElement(uri, localName, qName);
    }

    bool characters(const QString &text) override
    {
        source.tokenRead();
        return target.characters(text);
    }

    // A few bytes of references can stand for gigabytes of declared text.
    bool internalEntityDecl(const QString &, const QString &) override { return false; }
    bool externalEntityDecl(const QString &, const QString &, const QString &) override
    {
        return false;
    }

private:
    QXmlContentHandler &target;
    LimitedSource &source;
    int maxElements;
    int depth = 0;
    int elements = 0;
};

XmlResult parse(QIODevice &device, QXmlContentHandler &handler, const XmlLimits &limits)
{
    LimitedSource source(device, limits);
    LimitedHandler limited(handler, source, limits.elements);
    QXmlSimpleReader reader;
    // Names are compared with their prefixes; many xmlns attributes would take quadratic time.
    reader.setFeature(u"http://xml.org/sax/features/namespaces"_s, false);
    reader.setFeature(u"http://xml.org/sax/features/namespace-prefixes"_s, true);
    reader.setContentHandler(&limited);
    reader.setDeclHandler(&limited);
    return reader.parse(&source) ? XmlResult::Read : XmlResult::Damaged;
}

} // namespace

XmlResult readXml(const QString &fileName, QXmlContentHandler &handler, const XmlLimits &limits)
{
    QFile file(fileName);
    // Not a pipe, for instance: opening it would wait for a writer.
    if (!QFileInfo(file).isFile() || !file.open(QIODevice::ReadOnly))
        return XmlResult::CannotOpen;
    if (file.peek(2) != "\x1f\x8b")
        return parse(file, handler, limits);
    file.close();
    QuaGzipFile unpacked(fileName);
    if (!unpacked.open(QIODevice::ReadOnly))
        return XmlResult::CannotOpen;
    return parse(unpacked, handler, limits);
}
