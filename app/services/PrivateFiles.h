#pragma once

// Vesk's folders and files hold the user's texts: they are created for the user alone (0700 and 0600),
// whatever the umask, and ones an older version left readable by others are tightened.

#include <QString>

namespace vesk::app {

// Creates the folder and any missing parents for the user alone; false when it can't be made.
bool makePrivateDirectory(const QString& path);
// Takes away others' access to the file, creating it empty for the user alone when missing and `create`.
bool makePrivateFile(const QString& path, bool create = true);

} // namespace vesk::app
