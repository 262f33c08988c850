// base/SavePanel.h — where a person says under which name a file is saved.
#pragma once
#include <optional>
#include <string>
#include <vector>

/// A check box beside the name.
struct SaveOption {
    std::string titleKey;
    std::string helpKey;
    bool on = false;
};

/// The panel's texts, as keys of the localised texts.
struct SaveRequest {
    std::string titleKey;
    std::string promptKey;
    std::string folder;        ///< full path of the folder to begin in; empty: the last one
    std::string suggestedName; ///< without folder
    std::string fileType;      ///< required extension without its dot; empty: any
    std::vector<SaveOption> options;
};

class SavePanel {
public:
    virtual ~SavePanel() = default;
    /// Main thread. Asks and waits; the person may make folders. The chosen full path, with the required
    /// extension; nothing when the person gave up. `request.options` have the person's states afterwards,
    /// unless given up.
    virtual std::optional<std::string> choose(SaveRequest& request) = 0;
};

/// Where nobody can be asked, nothing is saved.
class NoSavePanel final : public SavePanel {
public:
    std::optional<std::string> choose(SaveRequest&) override { return {}; }
};
