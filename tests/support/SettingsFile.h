#pragma once

// A settings file of the test's own: each `open()` reads it as a new instance of the app would.

#include <QSettings>
#include <QTemporaryDir>
#include <memory>

namespace vesk::test {

struct SettingsFile
{
    [[nodiscard]] std::unique_ptr<QSettings> open() const
    {
        return std::make_unique<QSettings>(dir.filePath(QStringLiteral("vesk.conf")), QSettings::IniFormat);
    }

    QTemporaryDir dir;
};

} // namespace vesk::test
