// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

class QLocale;

/// Sets the application's language to the first one of @p locale that has a translation. That
/// includes Qt's own buttons and messages if Qt's translations are installed.
///
/// The program's texts come from the executable's resources below ":/i18n". Call this before the
/// first window is made. Without a translation everything stays English.
void installTranslations(const QLocale &locale);
