#include "base/QtFolderWatch.h"

#include <QString>
#include <QStringList>
#include <utility>

QtFolderWatch::QtFolderWatch() {
    QObject::connect(&m_watcher, &QFileSystemWatcher::directoryChanged, &m_watcher, [this] {
        if (m_changed)
            m_changed();
    });
}

void QtFolderWatch::watch(const std::string& folder, std::function<void()> changed) {
    m_changed = std::move(changed);
    const QString path = QString::fromStdString(folder);
    if (m_watcher.directories() == QStringList(path))
        return;
    if (const QStringList watched = m_watcher.directories(); !watched.isEmpty())
        m_watcher.removePaths(watched);
    m_watcher.addPath(path); // fails for a folder that is not there
}

void QtFolderWatch::end() {
    m_changed = nullptr;
    if (const QStringList watched = m_watcher.directories(); !watched.isEmpty())
        m_watcher.removePaths(watched);
}
