#pragma once

// Where the home window can be asked to go: its sections, and text to load into the composer.

#include <QString>
#include <QUuid>

namespace vesk::app {

enum class HomeSection { overview, composer, activity, settings };

// Text waiting to be loaded into the composer; every draft is new, even with the same text.
struct ComposerDraft
{
    QUuid id = QUuid::createUuid();
    QString text;
    bool startsCorrection = false;
};

} // namespace vesk::app
