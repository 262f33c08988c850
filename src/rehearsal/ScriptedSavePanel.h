// rehearsal/ScriptedSavePanel.h — a save panel that is answered by the script.
#pragma once
#include "base/SavePanel.h"

#include <utility>

/// Main thread only.
class ScriptedSavePanel final : public SavePanel {
public:
    /// The path for the next request; an empty one gives up. `options` are set in the request's order; those
    /// that are missing stay as they were.
    void answerNext(std::string path, std::vector<bool> options = {}) {
        m_path = std::move(path);
        m_options = std::move(options);
    }

    std::optional<std::string> choose(SaveRequest& request) override {
        m_lastRequest = request;
        const std::string path = std::exchange(m_path, {});
        if (path.empty())
            return {};
        for (std::size_t number = 0; number < request.options.size() && number < m_options.size(); ++number)
            request.options[number].on = m_options[number];
        return path;
    }
    /// The last request, as it was asked.
    const SaveRequest& lastRequest() const { return m_lastRequest; }

private:
    std::string m_path;
    std::vector<bool> m_options;
    SaveRequest m_lastRequest;
};
