#include "base/Texts.h"

#include <array>
#include <cassert>
#include <cstdlib>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

/// A static library's resources are registered by hand; the macro works only outside a namespace.
static void registerTexts() {
    Q_INIT_RESOURCE(texts);
}

namespace {
constexpr std::array builtIn{std::string_view("en"), std::string_view("ja"), std::string_view("de")};

bool isBuiltIn(std::string_view language) {
    for (const std::string_view known : builtIn)
        if (language == known)
            return true;
    return false;
}

/// "ja_JP.UTF-8" is "ja"; the C locale speaks English.
std::string_view languageOfLocale(std::string_view locale) {
    const std::string_view language = locale.substr(0, locale.find_first_of("_.@"));
    return language == "C" || language == "POSIX" ? "en" : language;
}
} // namespace

Texts Texts::forLanguage(std::string_view language) {
    registerTexts();
    const std::string known(isBuiltIn(language) ? language : "en");
    QFile file(":/velmoratide/texts/" + QString::fromStdString(known) + ".json");
    const bool opened = file.open(QIODevice::ReadOnly);
    assert(opened && "the texts are built into the program");
    if (!opened)
        return {};
    const QJsonObject object = QJsonDocument::fromJson(file.readAll()).object();
    std::map<std::string, std::string, std::less<>> texts;
    for (auto text = object.begin(); text != object.end(); ++text)
        texts.emplace(text.key().toStdString(), text.value().toString().toStdString());
    return Texts(std::move(texts));
}

std::string Texts::wishedLanguage() {
    for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const char* locale = std::getenv(variable);
        if (locale == nullptr)
            continue;
        const std::string_view language = languageOfLocale(locale);
        if (isBuiltIn(language))
            return std::string(language);
    }
    return "en";
}

std::string Texts::operator()(std::string_view key) const {
    const auto text = m_texts.find(key);
    return text == m_texts.end() ? std::string(key) : text->second;
}
