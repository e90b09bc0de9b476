// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

class QString;
class QXmlContentHandler;

enum class XmlResult { Read, CannotOpen, Damaged };

/// Parses the XML file @p fileName, plain or gzip-compressed by its first two bytes, into
/// @p handler, which has received all that stands before the fault when the result is Damaged.
///
/// The file may come from anybody. Beyond limits that no NZB and no queue file comes near (size
/// when unpacked, number and nesting of elements, length of one text or tag) it counts as damaged,
/// and so does one that declares entities. Only startElement(), endElement() and characters() of
/// the handler are called.
[[nodiscard]] XmlResult readXml(const QString &fileName, QXmlContentHandler &handler);
