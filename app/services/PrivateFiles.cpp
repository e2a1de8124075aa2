#include "app/services/PrivateFiles.h"

#include "app/common/AppIdentity.h"
#include "app/common/Logging.h"

#include <QDir>
#include <QFileInfo>
#include <QSettings>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vesk::app {

namespace {

constexpr mode_t othersAccess = S_IRWXG | S_IRWXO;

// Takes group and others' access away from a file or folder the user owns.
void restrictToOwner(int fd)
{
    struct stat status
    {
    };
    if (fstat(fd, &status) == 0 && status.st_uid == geteuid() && (status.st_mode & othersAccess) != 0) {
        fchmod(fd, status.st_mode & ~othersAccess);
    }
}

} // namespace

bool makePrivateDirectory(const QString& path)
{
    const QString absolute = QDir::cleanPath(QFileInfo(path).absoluteFilePath());
    if (QFileInfo(absolute).isDir()) {
        return true;
    }
    const QString parent = QFileInfo(absolute).path();
    if (parent != absolute && !makePrivateDirectory(parent)) {
        return false;
    }
    return ::mkdir(QFile::encodeName(absolute).constData(), S_IRWXU) == 0 || errno == EEXIST;
}

bool makePrivateFile(const QString& path, bool create)
{
    const int fd = ::open(QFile::encodeName(path).constData(),
                          O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | (create ? O_CREAT : 0), S_IRUSR | S_IWUSR);
    if (fd < 0) {
        return false;
    }
    restrictToOwner(fd);
    ::close(fd);
    return true;
}

std::unique_ptr<QSettings> settingsStorage(std::unique_ptr<QSettings> storage)
{
    return storage ? std::move(storage) : std::make_unique<QSettings>(organizationName, applicationName);
}

void savePrivately(QSettings& storage)
{
    // The file keeps its permissions when rewritten.
    if (storage.format() != QSettings::InvalidFormat && !storage.fileName().isEmpty()) {
        makePrivateDirectory(QFileInfo(storage.fileName()).path());
        makePrivateFile(storage.fileName());
    }
    storage.sync();
    if (storage.status() != QSettings::NoError) {
        qCWarning(lcSettings) << "Couldn't save settings to" << storage.fileName();
    }
}

} // namespace vesk::app
