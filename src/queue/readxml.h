// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QtGlobal>

class QString;
class QXmlContentHandler;

enum class XmlResult { Read, CannotOpen, Damaged };

struct XmlLimits {
    qint64 document; ///< bytes when unpacked
    int elements;
    qint64 token; ///< bytes of one text, tag or comment
};

/// For an NZB, which may come from anybody. Some four million articles; what is made of so much
/// stays near two gigabytes at the worst.
inline constexpr XmlLimits nzbLimits{512 * 1024 * 1024, 5'000'000, 1024 * 1024};
/// For the queue file, which must take what any number of NZBs held, in longer escapes.
inline constexpr XmlLimits queueLimits{64 * nzbLimits.document, 64 * nzbLimits.elements,
                                       64 * nzbLimits.token};

/// Parses the XML file @p fileName, plain or gzip-compressed by its first two bytes, into
/// @p handler, which has received all that stands before the fault when the result is Damaged.
///
/// Beyond the limits, or nested deeper than any of our formats, the file counts as damaged, and so
/// does one that declares entities. Only startElement(), endElement() and characters() of the
/// handler are called.
[[nodiscard]] XmlResult readXml(const QString &fileName, QXmlContentHandler &handler,
                                const XmlLimits &limits = nzbLimits);
