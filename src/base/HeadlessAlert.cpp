#include "base/HeadlessAlert.h"

#include "base/SystemLog.h"
#include "base/Texts.h"

#include <algorithm>
#include <string_view>

namespace {
constexpr std::string_view cancelKey = "Cancel";

AlertAnswer safeAnswer(const AlertRequest& request) {
    if (request.otherKey == cancelKey)
        return AlertAnswer::otherButton;
    return request.alternateKey.empty() ? AlertAnswer::defaultButton : AlertAnswer::alternateButton;
}

const std::string& keyOf(const AlertRequest& request, AlertAnswer answer) {
    switch (answer) {
    case AlertAnswer::alternateButton:
        return request.alternateKey;
    case AlertAnswer::otherButton:
        return request.otherKey;
    case AlertAnswer::defaultButton:
        break;
    }
    return request.defaultKey;
}
} // namespace

AlertAnswer HeadlessAlert::ask(const AlertRequest& request) {
    const AlertAnswer answer = safeAnswer(request);
    m_log.log(line(request) + " -> " + m_texts(keyOf(request, answer)));
    return answer;
}

void HeadlessAlert::tell(const AlertRequest& request) {
    m_log.log(line(request));
}

std::string HeadlessAlert::line(const AlertRequest& request) const {
    std::string line = "HeadlessAlert: " + m_texts(request.messageKey);
    if (!request.informativeKey.empty())
        line += " " + m_texts(request.informativeKey);
    std::replace(line.begin(), line.end(), '\n', ' ');
    return line;
}
