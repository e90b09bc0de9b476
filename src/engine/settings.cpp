// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "engine/settings.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <iterator>

using namespace Qt::StringLiterals;

namespace {

constexpr auto passwordKey = "password"_L1;
constexpr auto rarHandlingKey = "rarHandling"_L1;

/// How a RarHandling is stored.
constexpr QLatin1StringView rarHandlings[] = {""_L1, "disabled"_L1, "during"_L1, "after"_L1};

} // namespace

Settings *Settings::open(QObject *parent)
{
    const QString beside = QCoreApplication::applicationDirPath() + "/Marlowick.ini"_L1;
    if (QFile::exists(beside))
        return new Settings(beside, IniFormat, parent);
    return new Settings(IniFormat, UserScope, u"Marlowick"_s, u"Marlowick"_s, parent);
}

QString Settings::password() const
{
    return QString::fromLatin1(QByteArray::fromBase64(value(passwordKey).toByteArray()));
}

void Settings::setPassword(const QString &text)
{
    setValue(passwordKey, text.toLatin1().toBase64());
}

qint64 Settings::speedLimit() const { return std::max<qint64>(0, get(speedLimitKib)) * 1024; }

RarHandling Settings::rarHandling() const
{
    const auto *const found = std::find(std::begin(rarHandlings), std::end(rarHandlings),
                                        value(rarHandlingKey).toString());
    return found == std::end(rarHandlings) ? RarHandling::Unset
                                           : RarHandling(found - std::begin(rarHandlings));
}

void Settings::setRarHandling(RarHandling handling)
{
    setValue(rarHandlingKey, QString(rarHandlings[static_cast<int>(handling)]));
}

bool Settings::isSetUp() const { return contains(QLatin1StringView(threads.name)); }

QString Settings::expand(QString path)
{
    return path.replace("%APPDIR"_L1, QCoreApplication::applicationDirPath());
}

QString Settings::folder() const { return QFileInfo(fileName()).path(); }

bool Settings::save() const
{
    // QSettings writes a new file beside this one, with the permissions of this one from the start.
    constexpr QFile::Permissions owner = QFile::ReadOwner | QFile::WriteOwner;
    QFile file(fileName());
    if (file.open(QIODevice::ReadWrite, owner))
        file.setPermissions(owner);
    // The status of an object keeps its first error for good.
    QSettings written(fileName(), IniFormat);
    written.sync();
    return written.status() != AccessError;
}
