#include "base/EndOfLinks.h"

#include <QFileInfo>
#include <QString>

std::string endOfLinks(const std::string& path) {
    constexpr int longestChain = 40; // what the system follows
    QString file = QString::fromStdString(path);
    for (int links = 0; links < longestChain; ++links) {
        const QFileInfo info(file);
        if (!info.isSymLink())
            return file.toStdString();
        file = info.symLinkTarget();
    }
    return path;
}
