// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "queue/filenames.h"

#include <QRegularExpression>

#include <algorithm>

#include "queue/writablexml.h"

using namespace Qt::StringLiterals;

namespace {

constexpr auto volumeMark = ".vol"_L1;

/// Includes the characters that change the direction of text, which can hide an extension.
bool isControl(QChar c)
{
    return c.category() == QChar::Other_Control || (c >= u'\u202a' && c <= u'\u202e')
           || (c >= u'\u2066' && c <= u'\u2069');
}

} // namespace

QString extensionOf(const QString &name)
{
    const qsizetype dot = name.lastIndexOf(u'.');
    return dot < 0 ? QString() : name.mid(dot + 1).toLower();
}

bool isNzbName(const QString &path) { return path.endsWith(".nzb"_L1, Qt::CaseInsensitive); }

PasswordName splitPassword(const QString &name)
{
    const qsizetype opening = name.indexOf("{{"_L1);
    if (opening < 0 || !name.endsWith("}}"_L1) || name.size() < opening + 4)
        return {name, {}};
    return {name.left(opening).trimmed(), name.sliced(opening + 2).chopped(2)};
}

bool isPar2Extension(const QString &extension) { return extension == "par2"_L1; }

bool isPar2VolumeName(const QString &name) { return name.contains(volumeMark); }

QString par2Stem(const QString &path)
{
    const qsizetype mark = path.lastIndexOf(volumeMark);
    return mark > path.lastIndexOf(u'/') ? path.left(mark) : QString();
}

std::optional<int> recoveryBlocks(const QString &name)
{
    const qsizetype plus = name.lastIndexOf(u'+');
    const qsizetype dot = name.indexOf(u'.', plus + 1);
    if (plus < 0 || dot < 0 || !isPar2VolumeName(name))
        return {};
    return name.sliced(plus + 1, dot - plus - 1).toInt();
}

bool isRarVolume(const QString &name)
{
    static const QRegularExpression pattern(u"\\.(rar|[r-z][0-9]{2})$"_s,
                                            QRegularExpression::CaseInsensitiveOption);
    return pattern.match(name).hasMatch();
}

bool isFirstRarVolume(const QString &name)
{
    if (!name.endsWith(".rar"_L1, Qt::CaseInsensitive))
        return false;
    const QStringView stem = QStringView(name).chopped(4);
    const qsizetype dot = stem.lastIndexOf(u'.');
    if (dot < 0 || !stem.mid(dot).startsWith(".part"_L1, Qt::CaseInsensitive))
        return true;
    return stem.mid(dot + 5).toInt() == 1;
}

bool isOldVolumeExtension(const QString &extension)
{
    return extension.size() == 3 && extension.at(1).isDigit() && extension.at(2).isDigit();
}

bool isZipOr7z(const QString &name)
{
    const QString extension = extensionOf(name);
    return extension == "zip"_L1 || extension == "7z"_L1;
}

bool isPieceExtension(const QString &extension)
{
    return extension.size() == 3 && std::all_of(extension.cbegin(), extension.cend(), [](QChar c) {
               return c.isDigit();
           });
}

QString seriesName(const QString &name) { return name.left(name.size() - 4); }

QString withoutVolumeTail(const QString &stem)
{
    const qsizetype dot = stem.lastIndexOf(u'.');
    const QString tail = extensionOf(stem);
    const bool cut =
        tail.startsWith("part"_L1) || tail.startsWith("vol"_L1) || isPieceExtension(tail);
    return dot >= 0 && cut ? stem.left(dot) : stem;
}

QString uuPartSuffix(int number) { return QString::asprintf(".uu%06d", number); }

bool isDeletableName(const QString &name)
{
    return !name.isEmpty() && !u"/\\."_s.contains(name.front()) && !name.contains(u':');
}

bool tellsNothing(const QString &name)
{
    static const QRegularExpression usual(
        u"^([a-z_-]{2,8}|[a-z]+[0-9]|[0-9][a-z]{1,2}|m2ts|h26[45]|[r-z][0-9]{2}|[0-9]{1,3}|xml\\d)$"_s);
    return !usual.match(extensionOf(name)).hasMatch();
}

bool hasWord(const QString &name)
{
    // No word has five consonants in a row.
    static const QRegularExpression word(
        u"[^\\x00-\\x7f]|(?:^|[ ._-])(?![A-Za-z]*[^AEIOUYaeiouy \\d._-]{5})(?:[A-Z]?[a-z]{1,13}|[A-Z]{2,14})(?:$|[ ._-])"_s);
    return word.match(name).hasMatch();
}

bool isRandomName(const QString &name)
{
    const qsizetype dot = name.lastIndexOf(u'.');
    const QString stem = name.left(dot > 0 ? dot : name.size());
    static const QRegularExpression digits(u"^[0-9a-f-]{24,}$"_s,
                                           QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression mixed(
        u"^(?=(?:.*[0-9]){3})(?=(?:.*[a-z]){3})(?=(?:.*[A-Z]){3})[0-9A-Za-z]{20,}$"_s);
    return digits.match(stem).hasMatch() || mixed.match(stem).hasMatch();
}

bool isPlainName(const QString &name)
{
    constexpr qsizetype longest = 255;
    const bool survives = !name.contains(u'"') && writableXml(name) == name; // a saved queue
    return isDeletableName(name) && survives && !name.contains(u'/') && !name.contains(u'\\')
           && name.toUtf8().size() <= longest
           && std::none_of(name.cbegin(), name.cend(), isControl);
}

QString plainName(const QByteArray &posted)
{
    QString name = QString::fromUtf8(posted);
    if (name.contains(QChar::ReplacementCharacter))
        return {};
    name = name.normalized(QString::NormalizationForm_C);
    name.removeIf([](QChar c) {
        return isControl(c) || (c.unicode() < 0x80 && !isKeptInNames(c.toLatin1()));
    });
    while (name.startsWith(u'.'))
        name.remove(0, 1);
    return isPlainName(name) ? name : QString();
}

QString stemOfJob(const QString &job)
{
    constexpr qsizetype longest = 200;
    QString stem = plainName(job.left(longest).toUtf8());
    while (stem.toUtf8().size() > longest)
        stem.chop(1);
    return stem.isEmpty() ? u"file"_s : stem;
}

bool isKeptInNames(char c)
{
    return c >= ' ' && c <= '~' && !QByteArrayView("/:\\?*&`<>\"|'").contains(c);
}

bool isSuspiciousMember(const QByteArray &name)
{
    return name.startsWith('/') || name.startsWith('\\') || (name.size() > 1 && name.at(1) == '.')
           || name.contains(':');
}
