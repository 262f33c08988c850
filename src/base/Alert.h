// base/Alert.h — what a person must read or decide.
#pragma once
#include <string>

/// An alert's texts, as keys of the localised texts. An empty button key means that there is no such button.
struct AlertRequest {
    std::string messageKey;
    std::string informativeKey;
    std::string defaultKey;
    std::string alternateKey = {};
    std::string otherKey = {};
};

enum class AlertAnswer { defaultButton, alternateButton, otherButton };

class Alert {
public:
    virtual ~Alert() = default;
    /// Main thread. Asks and waits for the answer.
    virtual AlertAnswer ask(const AlertRequest& request) = 0;
    /// Any thread. Shows an alert that has nothing to decide; does not wait until it is read.
    virtual void tell(const AlertRequest& request) = 0;
};
