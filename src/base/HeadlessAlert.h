// base/HeadlessAlert.h — alerts where nobody sits before a screen.
#pragma once
#include "base/Alert.h"

class SystemLog;
class Texts;

/// Logs each alert's texts as one line and answers with the safe choice: the button that cancels, else the
/// alternate button, else the default one.
class HeadlessAlert final : public Alert {
public:
    HeadlessAlert(SystemLog& log, const Texts& texts) : m_log(log), m_texts(texts) {}

    // Main thread
    AlertAnswer ask(const AlertRequest& request) override;
    // Any thread
    void tell(const AlertRequest& request) override;

private:
    std::string line(const AlertRequest& request) const;

    SystemLog& m_log;
    const Texts& m_texts;
};
