#include "rehearsal/DutyRecords.h"

#include "rehearsal/JsonLine.h"
#include "rehearsal/RehearsalDesk.h"
#include "rehearsal/StateLog.h"

namespace {
/// `path` as it stands inside a JSON text.
std::string inJson(const std::string& path) {
    const std::string quoted = JsonLine::quoted(path);
    return quoted.substr(1, quoted.size() - 2);
}

const char* nameOf(AlertAnswer answer) {
    return answer == AlertAnswer::defaultButton     ? "default"
           : answer == AlertAnswer::alternateButton ? "alternate"
                                                    : "other";
}

std::string alertLine(const Clock& clock, const ScriptedAlert::Shown& shown) {
    std::vector<std::string> buttons;
    for (const std::string* key :
         {&shown.request.defaultKey, &shown.request.alternateKey, &shown.request.otherKey})
        if (!key->empty())
            buttons.push_back(*key);
    return JsonLine()
        .text("at", LineFile::timeText(clock))
        .text("message", shown.request.messageKey)
        .text("informative", shown.request.informativeKey)
        .texts("buttons", buttons)
        .text("answer", nameOf(shown.answer))
        .finished();
}
} // namespace

DutyRecords::DutyRecords(RehearsalDesk& desk)
    : m_desk(desk),
      m_systemFile(desk.folder + "/system-log.txt", desk.folder),
      m_notificationFile(desk.folder + "/notifications.jsonl", inJson(desk.folder)),
      m_alertFile(desk.folder + "/alerts.jsonl", inJson(desk.folder)),
      m_stateFile(desk.folder + "/states.jsonl", inJson(desk.folder)),
      m_systemLog(m_systemFile, desk.clock) {
    desk.log.setNext(&m_systemLog);
    desk.alert.setListener(
        [this](const ScriptedAlert::Shown& shown) { m_alertFile.write(alertLine(m_desk.clock, shown)); });
    m_watch = desk.notifications.observe({}, [this](const Notification& notification) {
        m_notificationFile.write(JsonLine()
                                     .text("at", LineFile::timeText(m_desk.clock))
                                     .text("name", notification.name)
                                     .text("object", notification.object)
                                     .object("userInfo", notification.userInfo)
                                     .finished());
    });
}

DutyRecords::~DutyRecords() {
    m_desk.log.setNext(nullptr);
    m_desk.alert.setListener({});
}

void DutyRecords::beginStates() {
    m_states = std::make_unique<StateLog>(m_stateFile, m_desk.clock, *m_desk.controler);
}

void DutyRecords::look() {
    if (m_states != nullptr && m_desk.controler != nullptr)
        m_states->look();
}

bool DutyRecords::areWhole() const {
    return m_systemFile.isWhole() && m_notificationFile.isWhole() && m_alertFile.isWhole() &&
           m_stateFile.isWhole();
}
