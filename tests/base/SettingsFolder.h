// base/SettingsFolder.h — a folder with a settings file, for tests of what becomes of it.
#pragma once
#include "base/SystemLog.h"
#include "support/TemporaryFolder.h"

#include <fstream>
#include <gtest/gtest.h>
#include <QJsonDocument>
#include <QJsonObject>
#include <sstream>
#include <string>
#include <vector>

class SettingsFolder : public testing::Test {
protected:
    class Lines final : public SystemLog {
    public:
        void log(std::string_view line) override { all.emplace_back(line); }
        std::vector<std::string> all;
    };

    void write(const std::string& text) const { std::ofstream(path, std::ios::binary) << text; }
    static std::string contents(const std::string& of) {
        std::ifstream file(of, std::ios::binary);
        std::ostringstream text;
        text << file.rdbuf();
        return text.str();
    }
    static QJsonObject objectOf(const std::string& text) {
        return QJsonDocument::fromJson(QByteArray::fromStdString(text)).object();
    }
    /// Without its version.
    QJsonObject stored() const {
        QJsonObject object = objectOf(contents(path));
        object.remove(QStringLiteral("SettingsVersion"));
        return object;
    }

    TemporaryFolder folder;
    const std::string path = folder.path() + "/settings.json";
    Lines lines;
};
