#include "base/Texts.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <optional>

namespace {
/// Sets or clears an environment variable for a test's length.
class Variable {
public:
    Variable(const char* name, const char* value) : m_name(name) {
        if (const char* before = std::getenv(name))
            m_before = before;
        if (value == nullptr)
            unsetenv(name);
        else
            setenv(name, value, 1);
    }
    ~Variable() {
        if (m_before)
            setenv(m_name, m_before->c_str(), 1);
        else
            unsetenv(m_name);
    }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;

private:
    const char* m_name;
    std::optional<std::string> m_before;
};
} // namespace

TEST(Texts, haveTheSameKeysInEveryLanguage) {
    const Texts english = Texts::forLanguage("en");
    ASSERT_GT(english.all().size(), 50u);
    for (const char* language : {"ja", "de"}) {
        const Texts other = Texts::forLanguage(language);
        for (const auto& [key, text] : english.all())
            EXPECT_TRUE(other.has(key)) << language << " " << key;
        for (const auto& [key, text] : other.all())
            EXPECT_TRUE(english.has(key)) << language << " " << key;
    }
}

TEST(Texts, areNeverEmpty) {
    for (const char* language : {"en", "ja", "de"}) {
        const Texts texts = Texts::forLanguage(language);
        for (const auto& [key, text] : texts.all())
            EXPECT_FALSE(text.empty()) << language << " " << key;
    }
}

TEST(Texts, nameEverythingThatTheRecorderSays) {
    const Texts texts = Texts::forLanguage("en");
    for (const char* key : {"AlwaysMode",
                            "AutoMode",
                            "StandbyMode",
                            "TimerMode",
                            "Recording",
                            "Standby",
                            "Stopped",
                            "Before",
                            "ReserveStartTime",
                            "ReserveStopTime",
                            "ChannelMono",
                            "ChannelStereo",
                            "InternalSource",
                            "ExternalSource",
                            "DigitalSource",
                            "InternalOutput",
                            "NoRecordSource",
                            "RecheckDevice",
                            "Understand",
                            "NoPlaybackSource",
                            "UnablePlayback",
                            "FileWriteError",
                            "CheckAndRetry",
                            "UnableExit",
                            "StopRecording",
                            "Cancel",
                            "RecordStart",
                            "RecordStop",
                            "TimerStopCaution",
                            "ReserveCancelInfo",
                            "TimerStopInfo",
                            "CompressingCaution",
                            "CompressingCautionInfo",
                            "StopAfterCompress",
                            "ApplicationStop",
                            "SupportPage",
                            "NeedInternet",
                            "Go",
                            "SendMessage",
                            "NeedInetToSend",
                            "Send"})
        EXPECT_TRUE(texts.has(key)) << key;
}

TEST(Texts, areEnglish_forAnUnknownLanguage) {
    EXPECT_EQ(Texts::forLanguage("fr").all(), Texts::forLanguage("en").all());
    EXPECT_NE(Texts::forLanguage("ja").all(), Texts::forLanguage("en").all());
}

TEST(Texts, showTheKey_whenThereIsNoText) {
    EXPECT_EQ(Texts()("NoSuchText"), "NoSuchText");
    std::map<std::string, std::string, std::less<>> known{{"Known", "text"}};
    EXPECT_EQ(Texts(known)("Known"), "text");
}

TEST(Texts, keepThePlacesOfNumbers_inEveryLanguage) {
    const Texts english = Texts::forLanguage("en");
    for (const char* language : {"ja", "de"}) {
        const Texts other = Texts::forLanguage(language);
        for (const auto& [key, text] : english.all())
            for (const char* place : {"%1", "%2", "%@"})
                EXPECT_EQ(text.find(place) == std::string::npos, other(key).find(place) == std::string::npos)
                    << language << " " << key;
    }
}

TEST(Texts, areGerman_forAGermanLocale) {
    const Variable all("LC_ALL", nullptr);
    const Variable messages("LC_MESSAGES", nullptr);
    const Variable lang("LANG", "de_AT.UTF-8");
    EXPECT_EQ(Texts::wishedLanguage(), "de");
    EXPECT_EQ(Texts::forLanguage("de")("Recording"), "Aufnahme");
}

TEST(Texts, followTheFirstBuiltInLanguageOfTheEnvironment) {
    const Variable all("LC_ALL", nullptr);
    const Variable messages("LC_MESSAGES", "fr_FR.UTF-8");
    const Variable lang("LANG", "ja_JP.UTF-8");
    EXPECT_EQ(Texts::wishedLanguage(), "ja");
    {
        const Variable first("LC_ALL", "en_GB@euro");
        EXPECT_EQ(Texts::wishedLanguage(), "en");
    }
    const Variable plain("LC_ALL", "C");
    EXPECT_EQ(Texts::wishedLanguage(), "en");
}

TEST(Texts, areEnglish_whenTheEnvironmentWishesNothing) {
    const Variable all("LC_ALL", nullptr);
    const Variable messages("LC_MESSAGES", nullptr);
    const Variable lang("LANG", nullptr);
    EXPECT_EQ(Texts::wishedLanguage(), "en");
}
