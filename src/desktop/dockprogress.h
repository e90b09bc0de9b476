// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

/// Shows how far the downloads are beside the program's icon in the dock or task bar, by the signal
/// com.canonical.Unity.LauncherEntry.Update of the session bus, which GNOME's docks and KDE's task
/// bar read. Without a listener, nothing happens.
class DockProgress {
public:
    /// @param fraction  from 0 to 1; anything below 0 takes the bar away
    void show(double fraction);

private:
    int percent = -1; ///< as shown; -1 is no bar
};
