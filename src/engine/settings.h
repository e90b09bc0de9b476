// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QSettings>

/// When archives are unpacked. A file without the key, or with an odd value, has Unset, which
/// unpacks, but only after the download.
enum class RarHandling { Unset, Disabled, During, After };

/// All configuration: one flat set of keys in one INI file. Nothing is cached or announced: who
/// needs a value reads it at that moment, so that a change takes effect with the next read.
///
/// A key that is absent reads as T(); one of the wrong type converts as QVariant does. The limits
/// of a value are the settings dialog's, and not checked again. Lives on the GUI thread.
class Settings final : public QSettings {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(Settings)

    template <class T> struct Key {
        const char *name;
    };

public:
    // To add a setting: a line here, and a control in the settings dialog.
    static constexpr Key<QString> hostname{"hostname"};
    static constexpr Key<QString> username{"username"};
    static constexpr Key<QString> mediaPlayer{"mediaPlayer"}; ///< as typed: expand() it
    static constexpr Key<QString> mediaPlayerArgs{"mediaPlayerArgs"}; ///< parted by blanks
    static constexpr Key<QString> downloadFolder{"downloadFolder"}; ///< as typed: expand() it
    static constexpr Key<int> threads{"threads"}; ///< the most connections at once
    static constexpr Key<int> networkTimeout{"networkTimeout"}; ///< seconds of silence
    static constexpr Key<int> networkRetry{"networkRetry"}; ///< seconds before the next login
    static constexpr Key<int> port{"port"};
    static constexpr Key<bool> ssl{"ssl"};
    static constexpr Key<bool> autoPAR2{"autoPAR2"}; ///< repair a damaged job unasked
    static constexpr Key<bool> pausePAR2{"pausePAR2"}; ///< hold PAR2 files back until needed
    static constexpr Key<bool> clearOnCompletion{"clearOnCompletion"};

    /// The file beside the program if there is one, even an empty one, which makes an installation
    /// movable; that of the user otherwise.
    [[nodiscard]] static Settings *open(QObject *parent);

    template <class T> [[nodiscard]] T get(Key<T> key) const
    {
        return value(QLatin1StringView(key.name)).template value<T>();
    }
    template <class T> void set(Key<T> key, const T &value)
    {
        setValue(QLatin1StringView(key.name), value);
    }
    /// Stored in base 64, an encoding without a secret. Only Latin-1 survives.
    [[nodiscard]] QString password() const;
    void setPassword(const QString &text);
    [[nodiscard]] RarHandling rarHandling() const;
    void setRarHandling(RarHandling handling);

    /// True once the settings have been accepted in the dialog.
    [[nodiscard]] bool isSetUp() const;
    /// @p path with "%APPDIR" replaced by the folder of the program.
    [[nodiscard]] static QString expand(QString path);

    /// The folder of the settings file.
    [[nodiscard]] QString folder() const;
    /// Writes what has been set, for the eyes of the file's owner alone: it holds the password.
    /// False when the file cannot be written.
    [[nodiscard]] bool save() const;

private:
    using QSettings::QSettings;
};
