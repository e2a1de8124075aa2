#pragma once

// Vesk's folders and files hold the user's texts: they are created for the user alone (0700 and 0600),
// whatever the umask, and ones an older version left readable by others are tightened.

#include <QString>
#include <memory>

class QSettings;

namespace vesk::app {

// Creates the folder and any missing parents for the user alone; false when it can't be made.
bool makePrivateDirectory(const QString& path);
// Takes away others' access to the file, creating it empty for the user alone when missing and `create`.
bool makePrivateFile(const QString& path, bool create = true);

// The user's settings file (shared by the app's settings and its shortcuts), or `storage` when given (tests).
std::unique_ptr<QSettings> settingsStorage(std::unique_ptr<QSettings> storage);
// Writes `storage` out with the file and its folder the user's alone; logs a warning when it can't.
void savePrivately(QSettings& storage);

} // namespace vesk::app
