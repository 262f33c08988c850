// base/Texts.h — localised texts by key.
#pragma once
#include <map>
#include <string>
#include <string_view>

/// The texts of one language. A key without a text shows itself.
class Texts {
public:
    Texts() = default;
    explicit Texts(std::map<std::string, std::string, std::less<>> texts) : m_texts(std::move(texts)) {}
    /// The texts built into the program for `language` ("en", "ja", "de"); an unknown language yields English.
    static Texts forLanguage(std::string_view language);
    /// The first built-in language of the environment's wishes (LC_ALL, LC_MESSAGES, LANG), English if none.
    static std::string wishedLanguage();

    // Any thread
    std::string operator()(std::string_view key) const;
    bool has(std::string_view key) const { return m_texts.find(key) != m_texts.end(); }
    const std::map<std::string, std::string, std::less<>>& all() const { return m_texts; }

private:
    std::map<std::string, std::string, std::less<>> m_texts;
};
