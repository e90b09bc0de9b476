// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QRect>
#include <QSettings>

/// When archives are unpacked. Unset, for a missing key or an unknown value, unpacks after the
/// download.
enum class RarHandling { Unset, Disabled, During, After };

/// All configuration: one flat set of keys in one INI file. Nothing is cached or announced: each
/// value is read when it is needed, so a change takes effect with the next read.
///
/// A missing key reads as T(), a value of the wrong type as QVariant converts it. Only the settings
/// dialog limits the values. Lives on the GUI thread.
class Settings final : public QSettings {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(Settings)

    template <class T> struct Key {
        const char *name;
    };

public:
    // To add a setting: a line here, a control in the settings dialog, and a row in README.md.
    static constexpr Key<QString> hostname{"hostname"};
    static constexpr Key<QString> username{"username"};
    static constexpr Key<QString> mediaPlayer{"mediaPlayer"}; ///< as typed: expand() it
    static constexpr Key<QString> mediaPlayerArgs{"mediaPlayerArgs"}; ///< separated by blanks
    static constexpr Key<QString> downloadFolder{"downloadFolder"}; ///< as typed: expand() it
    static constexpr Key<int> threads{"threads"}; ///< the most connections at once
    static constexpr Key<int> networkTimeout{"networkTimeout"}; ///< seconds of silence
    static constexpr Key<int> networkRetry{"networkRetry"}; ///< seconds before the next login
    static constexpr Key<int> port{"port"};
    static constexpr Key<int> speedLimitKib{"speedLimit"}; ///< per second; see speedLimit()
    static constexpr Key<bool> ssl{"ssl"};
    static constexpr Key<bool> autoPAR2{"autoPAR2"}; ///< repair a damaged job unasked
    static constexpr Key<bool> pausePAR2{"pausePAR2"}; ///< hold PAR2 files back until needed
    static constexpr Key<bool> clearOnCompletion{"clearOnCompletion"};
    // What the window looked like. The dialog does not show these.
    static constexpr Key<QRect> windowPlace{"window/place"}; ///< while it is not maximized
    static constexpr Key<bool> windowMaximized{"window/maximized"};
    static constexpr Key<QStringList> windowColumns{"window/columns"}; ///< widths from the second
    static constexpr Key<QStringList> windowUnfolded{"window/unfolded"}; ///< names of jobs

    /// Opens the file beside the program if it exists, even if it is empty, so that an installation
    /// can be moved; otherwise that of the user.
    [[nodiscard]] static Settings *open(QObject *parent);

    template <class T> [[nodiscard]] T get(Key<T> key) const
    {
        return value(QLatin1StringView(key.name)).template value<T>();
    }
    template <class T> void set(Key<T> key, const T &value)
    {
        setValue(QLatin1StringView(key.name), value);
    }
    /// Stored in Base64, which protects nothing. Only Latin-1 characters survive.
    [[nodiscard]] QString password() const;
    void setPassword(const QString &text);
    /// In bytes per second; 0 for no limit.
    [[nodiscard]] qint64 speedLimit() const;
    [[nodiscard]] RarHandling rarHandling() const;
    void setRarHandling(RarHandling handling);

    /// True once the settings have been accepted in the dialog.
    [[nodiscard]] bool isSetUp() const;
    /// @p path with "%APPDIR" replaced by the folder of the program.
    [[nodiscard]] static QString expand(QString path);

    /// The folder of the settings file.
    [[nodiscard]] QString folder() const;
    /// Writes the file, readable only by its owner, since it holds the password. False if it cannot
    /// be written.
    [[nodiscard]] bool save() const;

private:
    using QSettings::QSettings;
};
