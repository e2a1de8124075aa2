#pragma once

#include <QIcon>

namespace vesk::app {

// Vesk's icon for its windows and the tray, from the PNG sizes compiled into the binary (the same files the
// install puts in the desktop's icon theme), so it looks the same whether or not Vesk is installed.
QIcon appIcon();

} // namespace vesk::app
