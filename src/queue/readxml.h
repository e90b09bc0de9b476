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

/// For an NZB, which may come from anybody: some four million articles, which take about two
/// gigabytes of memory at worst.
inline constexpr XmlLimits nzbLimits{512 * 1024 * 1024, 5'000'000, 1024 * 1024};
/// For the queue file, which holds the content of any number of NZBs, with longer escapes.
inline constexpr XmlLimits queueLimits{64 * nzbLimits.document, 64 * nzbLimits.elements,
                                       64 * nzbLimits.token};

/// Parses the XML file @p fileName, plain or gzip-compressed by its first two bytes, into
/// @p handler. If the result is Damaged, the handler has received everything before the fault.
///
/// Beyond the limits, or nested deeper than any of our formats, the file counts as damaged, and so
/// does one that declares entities. Only startElement(), endElement() and characters() of the
/// handler are called.
[[nodiscard]] XmlResult readXml(const QString &fileName, QXmlContentHandler &handler,
                                const XmlLimits &limits = nzbLimits);
