// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

class QTreeView;
class QWidget;
class Settings;

// What a restart keeps of the window: its size and place, the widths of the columns, and which jobs
// are unfolded. The settings file holds it in a group of its own. It is checked when it is read.

/// Puts a window that has not been shown in the middle of the screen.
void centre(QWidget *window);

/// Restores place, size and widths of a window that has not been shown. Without stored values, the
/// window keeps its size and stands in the middle, and the columns keep their widths.
void restoreWindow(QWidget *window, QTreeView *view, const Settings *settings);
/// Unfolds the jobs that were unfolded. To be called when the queue has been loaded.
void restoreUnfolded(QTreeView *view, const Settings *settings);

/// Stores all of it in @p settings.
void storeWindow(const QWidget *window, const QTreeView *view, Settings *settings);
