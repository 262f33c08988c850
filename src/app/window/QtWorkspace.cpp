#include "app/window/QtWorkspace.h"

#include <QDesktopServices>
#include <QFileInfo>
#include <QUrl>

bool QtWorkspace::openFile(const std::string& path) {
    const QString name = QString::fromStdString(path);
    return QFileInfo::exists(name) && QDesktopServices::openUrl(QUrl::fromLocalFile(name));
}
